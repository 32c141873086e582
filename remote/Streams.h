#pragma once

#include "remote/Frame.h"

#include <QHash>
#include <QObject>

class FramePipe;
class Stream;

/// The connections that share a pipe: each has a credit of its own, so that one that stands still delays no other, and
/// keeps a limited number of bytes waiting at either end.
class Streams : public QObject
{
    Q_OBJECT

public:
    /// How many bytes of a stream may be on their way or waiting.
    static constexpr qsizetype Window = 1024 * 1024;
    static constexpr qsizetype MostStreams = 128;

    explicit Streams(FramePipe& pipe);
    ~Streams() override;

    bool IsFull() const { return m_Streams.size() >= MostStreams; }
    /// Carries a connected, non-blocking socket under this number from now on, and closes it at the end.
    void Add(quint32 number, int socket);
    /// Takes the frames of streams. Throws DescribedError for one that no proper end sends.
    void Handle(const Frame& frame);

private:
    void Remove(quint32 number);

    FramePipe& m_Pipe;
    QHash<quint32, Stream*> m_Streams;
};
