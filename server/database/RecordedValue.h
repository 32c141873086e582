#pragma once

#include "core/automation/Variant.h"
#include "server/plant/Moment.h"

/// A change of an item as it is recorded.
struct RecordedValue
{
    QString Controller;
    QString Item;
    Variant Value;
    TimeStamp Time;
    qint32 State = 0; ///< 0: good, 1: failed, 2: undefined
};

/// How far the values of one spool have been written. A spool has an identity of its own, so that a database that is
/// put back or replaced never takes the sequence of one spool for that of another.
struct SpoolPosition
{
    quint64 Spool = 0;    ///< 1 to 2^63 - 1, random
    quint64 Sequence = 0; ///< that of the last value: values count from 1 on; 0: none
};
