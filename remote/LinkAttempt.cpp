#include "remote/LinkAttempt.h"

#include "core/automation/Errors.h"

#include <cerrno>

namespace {

/// Time to answer what ssh asks, as sshd gives it by default.
constexpr int DueMs = 120'000;
/// The same where nobody is asked.
constexpr int DueBesideMs = 6000;

} // namespace

LinkAttempt::LinkAttempt(const QString& host, SshProcess::Attempt kind)
    : m_Kind(kind)
    , m_Ssh(host, kind)
{
    connect(&m_Ssh, &SshProcess::Ended, this, [this](int exitCode) { Q_EMIT Failed(WhyEnded(exitCode)); });
    connect(&m_Ssh, &SshProcess::Missing, this,
            [this] { Q_EMIT Failed(QStringLiteral("no program \"ssh\" was found; Debian's openssh-client has it")); });
    m_Due.setSingleShot(true);
    connect(&m_Due, &QTimer::timeout, this, [this] {
        Q_EMIT Failed(QStringLiteral("no bridge has answered there. %1").arg(m_Greeting.Before()).trimmed());
    });
}

void LinkAttempt::Start()
{
    m_Due.start(m_Kind == SshProcess::Attempt::Beside ? DueBesideMs : DueMs);
    try {
        m_Ssh.Start();
    } catch (const DescribedError& error) {
        return Q_EMIT Failed(error.Description());
    }
    m_Output = m_Ssh.TakeOutput();
    m_Readable = std::make_unique<QSocketNotifier>(m_Output.Number(), QSocketNotifier::Read);
    connect(m_Readable.get(), &QSocketNotifier::activated, this, &LinkAttempt::Read);
}

void LinkAttempt::Read()
{
    QByteArray bytes(4096, Qt::Uninitialized);
    const auto count = read(m_Output.Number(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (count < 0 && errno == EINTR) return;
    if (count <= 0) return m_Readable->setEnabled(false); // its end says why
    bytes.truncate(count);
    try {
        const auto greeting = m_Greeting.Add(bytes);
        if (!greeting) return;
        m_Due.stop();
        m_Readable->setEnabled(false);
        m_Readable.release()->deleteLater();
        Q_EMIT Greeted(*greeting);
    } catch (const DescribedError& error) {
        Q_EMIT Failed(error.Description());
    }
}

QString LinkAttempt::WhyEnded(int exitCode) const
{
    constexpr int notFound = 127;
    constexpr int wrongUse = 2;
    QStringList parts;
    if (exitCode == notFound) parts << QStringLiteral("no program \"velsqlserver\" was found on the path of its shell");
    if (exitCode == wrongUse) parts << QStringLiteral("its velsqlserver cannot be connected to; it may be too old");
    if (!m_Ssh.LastWords().isEmpty()) parts << m_Ssh.LastWords();
    if (!m_Greeting.Before().isEmpty()) parts << m_Greeting.Before();
    if (parts.isEmpty() && exitCode < 0) parts << QStringLiteral("ssh was killed");
    if (parts.isEmpty()) parts << QStringLiteral("ssh has ended with code %1").arg(exitCode);
    return parts.join(u'\n');
}
