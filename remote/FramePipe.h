#pragma once

#include "remote/Descriptor.h"
#include "remote/Frame.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>

/// One end of the pair of pipes between launcher and bridge: frames in and out, and a sign of life every second, so
/// that a silent link is noticed by both ends, whatever it is that hangs between them.
class FramePipe : public QObject
{
    Q_OBJECT

public:
    /// The other end counts as gone after `patienceMs` of silence.
    FramePipe(Descriptor input, Descriptor output, int patienceMs);

    /// Begins to read; `already` are bytes that were read before. `handle` takes each frame; a DescribedError that it
    /// throws ends the pipe.
    void Begin(std::function<void(const Frame& frame)> handle, const QByteArray& already = {});
    /// Sends in order; what the pipe does not take now waits.
    void Send(const Frame& frame);
    /// So much waits to be sent that no data should be added.
    bool IsFull() const { return m_Out.size() > MostWaiting; }

Q_SIGNALS:
    /// No longer full.
    void Drained();
    /// Once, at the end; `why` is empty when the other end has closed the pipe.
    void Lost(const QString& why);

private:
    static constexpr qsizetype MostWaiting = 256 * 1024;

    void Read();
    void Deliver(const QByteArray& bytes);
    void Write();
    void LookAfter();
    void Fail(const QString& why);

    Descriptor m_Input;
    Descriptor m_Output;
    int m_PatienceMs;
    QSocketNotifier m_Readable;
    QSocketNotifier m_Writable;
    QTimer m_Beat;
    QElapsedTimer m_Heard;
    std::function<void(const Frame& frame)> m_Handle;
    FrameReader m_Frames;
    QByteArray m_Out;
    bool m_Lost = false;
};
