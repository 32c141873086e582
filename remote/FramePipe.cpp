#include "remote/FramePipe.h"

#include "core/automation/Errors.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace {

constexpr int BeatMs = 1000;

void MakeNonBlocking(const Descriptor& descriptor)
{
    fcntl(descriptor.Number(), F_SETFL, fcntl(descriptor.Number(), F_GETFL) | O_NONBLOCK);
}

} // namespace

FramePipe::FramePipe(Descriptor input, Descriptor output, int patienceMs)
    : m_Input(std::move(input))
    , m_Output(std::move(output))
    , m_PatienceMs(patienceMs)
    , m_Readable(m_Input.Number(), QSocketNotifier::Read)
    , m_Writable(m_Output.Number(), QSocketNotifier::Write)
{
    MakeNonBlocking(m_Input);
    MakeNonBlocking(m_Output);
    m_Readable.setEnabled(false);
    m_Writable.setEnabled(false);
    connect(&m_Readable, &QSocketNotifier::activated, this, &FramePipe::Read);
    connect(&m_Writable, &QSocketNotifier::activated, this, &FramePipe::Write);
    connect(&m_Beat, &QTimer::timeout, this, &FramePipe::LookAfter);
}

void FramePipe::Begin(std::function<void(const Frame& frame)> handle, const QByteArray& already)
{
    m_Handle = std::move(handle);
    m_Heard.start();
    m_Beat.start(BeatMs);
    m_Readable.setEnabled(true);
    Deliver(already);
}

void FramePipe::Send(const Frame& frame)
{
    if (m_Lost) return;
    m_Out += frame.Encode();
    if (!m_Writable.isEnabled()) Write();
}

void FramePipe::Read()
{
    QByteArray bytes(Frame::MostPayload, Qt::Uninitialized);
    const auto count = read(m_Input.Number(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count <= 0) return Fail({});
    m_Heard.start();
    bytes.truncate(count);
    Deliver(bytes);
}

void FramePipe::Deliver(const QByteArray& bytes)
{
    try {
        m_Frames.Add(bytes);
        while (!m_Lost) {
            const auto frame = m_Frames.Next();
            if (!frame) return;
            m_Handle(*frame);
        }
    } catch (const DescribedError& error) {
        Fail(QStringLiteral("What arrives is not from the bridge: %1").arg(error.Description()));
    }
}

void FramePipe::Write()
{
    if (m_Lost) return;
    const bool wasFull = IsFull();
    while (!m_Out.isEmpty()) {
        const auto count = write(m_Output.Number(), m_Out.constData(), static_cast<std::size_t>(m_Out.size()));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno != EAGAIN) return Fail({});
        if (count < 0) break;
        m_Out.remove(0, count);
    }
    m_Writable.setEnabled(!m_Out.isEmpty());
    if (wasFull && !IsFull()) Q_EMIT Drained();
}

/// Signs of life wait in no queue: one that cannot be sent is not needed, as bytes before it are on their way.
void FramePipe::LookAfter()
{
    if (m_Out.isEmpty()) Send({FrameType::Alive});
    // A process that was stopped itself has not heard what waits for it.
    if (!m_Lost && m_Heard.hasExpired(m_PatienceMs)) Read();
    if (!m_Lost && m_Heard.hasExpired(m_PatienceMs))
        Fail(QStringLiteral("nothing was heard for %1 seconds").arg(m_PatienceMs / 1000));
}

void FramePipe::Fail(const QString& why)
{
    if (std::exchange(m_Lost, true)) return;
    m_Beat.stop();
    m_Readable.setEnabled(false);
    m_Writable.setEnabled(false);
    Q_EMIT Lost(why);
}
