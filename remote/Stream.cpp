#include "remote/Stream.h"

#include "core/automation/Errors.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

Stream::Stream(FramePipe& pipe, quint32 number, Descriptor socket, qsizetype window)
    : m_Pipe(pipe)
    , m_Number(number)
    , m_Window(window)
    , m_Socket(std::move(socket))
    , m_Readable(m_Socket.Number(), QSocketNotifier::Read)
    , m_Writable(m_Socket.Number(), QSocketNotifier::Write)
    , m_Credit(window)
{
    m_Writable.setEnabled(false);
    connect(&m_Readable, &QSocketNotifier::activated, this, &Stream::Read);
    connect(&m_Writable, &QSocketNotifier::activated, this, &Stream::Write);
    connect(&m_Pipe, &FramePipe::Drained, this, &Stream::Resume);
    Resume();
}

void Stream::Resume()
{
    m_Readable.setEnabled(!m_Ended && !m_EndsWhenWritten && m_Credit > 0 && !m_Pipe.IsFull());
}

void Stream::Read()
{
    QByteArray bytes(std::min(m_Credit, Frame::MostPayload), Qt::Uninitialized);
    const auto count = recv(m_Socket.Number(), bytes.data(), static_cast<std::size_t>(bytes.size()), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return End(true);
    bytes.truncate(count);
    m_Credit -= count;
    m_Pipe.Send({FrameType::Data, m_Number, bytes});
    Resume();
}

void Stream::Take(const QByteArray& bytes)
{
    if (m_Waiting.size() + m_Owed + bytes.size() > m_Window)
        throw DescribedError(QStringLiteral("A stream sends more than it may."));
    m_Waiting += bytes;
    if (!m_Writable.isEnabled()) Write();
}

void Stream::Write()
{
    while (!m_Waiting.isEmpty()) {
        const auto count =
            send(m_Socket.Number(), m_Waiting.constData(), static_cast<std::size_t>(m_Waiting.size()), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno != EAGAIN) return End(!m_EndsWhenWritten);
        if (count < 0) break;
        m_Waiting.remove(0, count);
        m_Owed += count;
    }
    m_Writable.setEnabled(!m_Waiting.isEmpty());
    if (m_Waiting.isEmpty() && m_EndsWhenWritten) return End(false);
    if (m_Owed < m_Window / 4) return;
    m_Pipe.Send({FrameType::Credit, m_Number, Frame::Number(static_cast<quint32>(std::exchange(m_Owed, 0)))});
}

void Stream::AddCredit(quint32 bytes)
{
    if (bytes > m_Window - m_Credit) throw DescribedError(QStringLiteral("A stream is given more than it has sent."));
    m_Credit += bytes;
    Resume();
}

void Stream::EndWhenWritten()
{
    m_EndsWhenWritten = true;
    Resume();
    if (m_Waiting.isEmpty()) End(false);
}

void Stream::End(bool tell)
{
    if (std::exchange(m_Ended, true)) return;
    m_Readable.setEnabled(false);
    m_Writable.setEnabled(false);
    if (tell) m_Pipe.Send({FrameType::Close, m_Number});
    Q_EMIT Ended();
}
