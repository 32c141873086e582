#pragma once

#include "remote/Descriptor.h"
#include "remote/FramePipe.h"

#include <QObject>
#include <QSocketNotifier>

/// One local connection at one end of a pipe.
class Stream : public QObject
{
    Q_OBJECT

public:
    Stream(FramePipe& pipe, quint32 number, Descriptor socket, qsizetype window);

    /// From the other end, for the socket. Throws DescribedError when there was no credit for it.
    void Take(const QByteArray& bytes);
    /// The other end has passed on so many bytes. Throws DescribedError for more than it has had.
    void AddCredit(quint32 bytes);
    /// The other end has no more: the stream ends when the socket has taken what waits.
    void EndWhenWritten();

Q_SIGNALS:
    /// It is over at this end; the other end knows.
    void Ended();

private:
    void Read();
    void Write();
    void Resume();
    void End(bool tell);

    FramePipe& m_Pipe;
    const quint32 m_Number;
    const qsizetype m_Window;
    Descriptor m_Socket;
    QSocketNotifier m_Readable;
    QSocketNotifier m_Writable;
    qsizetype m_Credit;
    QByteArray m_Waiting;
    /// Written to the socket, and not yet credited.
    qsizetype m_Owed = 0;
    bool m_EndsWhenWritten = false;
    bool m_Ended = false;
};
