#pragma once

#include "server/sources/modbus/ReadJob.h"

/// What a unit has to tell; its line's thread calls it, and it brings that to the loop.
class UnitListener
{
public:
    virtual void NoteRead(ReadResults results) = 0;
    /// An empty text when it was written.
    virtual void NoteWritten(quint64 number, const QString& failure) = 0;
    virtual void NoteReachable(bool isReachable, const QString& why) = 0;

protected:
    ~UnitListener() = default;
};
