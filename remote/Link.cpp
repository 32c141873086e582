#include "remote/Link.h"

#include "core/automation/Errors.h"

#include <cerrno>

namespace {

/// An operator waits for nothing longer than six seconds.
constexpr int PatienceMs = 4000;
constexpr int PauseMs = 500;
/// A link that has stood for so long is made again without a pause.
constexpr int StoodLongMs = 10'000;
/// After a refusal: it may ask questions anew each time, and hosts lock out who knocks too often.
constexpr int PauseAfterRefusalMs = 15'000;
/// Time to answer what ssh asks, as sshd gives it by default.
constexpr int GreetingDueMs = 120'000;
/// The same where the connection may have died between ssh's first words and the bridge's.
constexpr int GreetingDueAgainMs = 30'000;
/// Every so many attempts one waits long enough for a slow network.
constexpr int PatientEvery = 4;

/// ssh's own words, which it never translates.
bool IsRefusal(const QString& words)
{
    return words.contains(QStringLiteral("Permission denied")) ||
           words.contains(QStringLiteral("Host key verification failed")) ||
           words.contains(QStringLiteral("Too many authentication failures"));
}

/// One line of it, for the band.
QString InShort(const QString& why)
{
    constexpr qsizetype enough = 300;
    if (why.contains(QStringLiteral("REMOTE HOST IDENTIFICATION HAS CHANGED")))
        return QStringLiteral("its host key has changed, and ssh refuses it");
    return why.simplified().left(enough);
}

template <typename Object>
void DeleteLater(std::unique_ptr<Object>& object)
{
    if (Object* old = object.release()) {
        old->disconnect();
        old->deleteLater();
    }
}

QString PlaceOf(const QString& host, const QString& user)
{
    const QString name = host.startsWith(QStringLiteral("ssh://")) ? host.mid(6) : host;
    return name.contains(u'@') || user.isEmpty() ? name : user + u'@' + name;
}

} // namespace

Link::Link(const QString& host)
    : m_Host(host)
    , m_State{PlaceOf(host, {}), QString()}
{
    m_Retry.setSingleShot(true);
    m_GreetingDue.setSingleShot(true);
    connect(&m_Retry, &QTimer::timeout, this, [this] {
        Attempt(++m_Attempts % PatientEvery == 0 ? SshProcess::Attempt::AgainPatiently : SshProcess::Attempt::Again);
    });
    connect(&m_GreetingDue, &QTimer::timeout, this,
            [this] { Drop(QStringLiteral("no bridge has answered there. %1").arg(m_Greeting.Before()).trimmed()); });
}

Link::~Link()
{
    m_Streams.reset();
}

void Link::Begin()
{
    Attempt(SshProcess::Attempt::First);
}

void Link::Attempt(SshProcess::Attempt kind)
{
    m_Greeting = {};
    m_Ssh = std::make_unique<SshProcess>(m_Host, kind);
    connect(m_Ssh.get(), &SshProcess::Ended, this, [this](int exitCode) { Drop(WhyEnded(exitCode)); });
    connect(m_Ssh.get(), &SshProcess::Missing, this,
            [this] { Drop(QStringLiteral("no program \"ssh\" was found; Debian's openssh-client has it")); });
    m_Ssh->Start();
    if (!m_Ssh) return;
    m_Output = m_Ssh->TakeOutput();
    m_Readable = std::make_unique<QSocketNotifier>(m_Output.Number(), QSocketNotifier::Read);
    connect(m_Readable.get(), &QSocketNotifier::activated, this, &Link::ReadGreeting);
    m_GreetingDue.start(kind == SshProcess::Attempt::Again ? GreetingDueAgainMs : GreetingDueMs);
}

void Link::ReadGreeting()
{
    QByteArray bytes(4096, Qt::Uninitialized);
    const auto count = read(m_Output.Number(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (count < 0 && errno == EINTR) return;
    if (count <= 0) return m_Readable->setEnabled(false); // its end says why
    bytes.truncate(count);
    try {
        if (const auto greeting = m_Greeting.Add(bytes)) Use(*greeting);
    } catch (const DescribedError& error) {
        Drop(error.Description());
    }
}

void Link::Use(const Greeting& greeting)
{
    m_GreetingDue.stop();
    const QString versions = QStringLiteral("VelSQLTester is version %1 there, and %2 here")
                                 .arg(greeting.Version, QStringLiteral(VELSQL_VERSION));
    if (greeting.Protocol != Greeting::OwnProtocol)
        throw DescribedError(versions + QStringLiteral("; they do not understand each other"));
    m_State.Place = PlaceOf(m_Host, greeting.User);
    m_VersionNote = greeting.Version == QStringLiteral(VELSQL_VERSION) ? QString() : versions;
    DeleteLater(m_Readable);
    m_Pipe = std::make_unique<FramePipe>(std::move(m_Output), m_Ssh->TakeInput(), PatienceMs);
    m_Streams = std::make_unique<Streams>(*m_Pipe);
    connect(m_Pipe.get(), &FramePipe::Lost, this,
            [this](const QString& why) { Drop(why.isEmpty() ? QStringLiteral("the link has broken off") : why); });
    m_Pipe->Send({FrameType::Serve, 0, m_MayStart ? QByteArrayLiteral("1") : QByteArrayLiteral("0")});
    if (m_Pipe) m_Pipe->Begin([this](const Frame& frame) { Handle(frame); }, m_Greeting.Rest());
}

void Link::Handle(const Frame& frame)
{
    if (!m_Pipe) return; // from one that is given up
    if (frame.Type != FrameType::Server) return m_Streams->Handle(frame);
    if (frame.Payload.isEmpty()) throw DescribedError(QStringLiteral("A message is empty."));
    TakeNews(static_cast<ServerNews>(frame.Payload[0]), QString::fromUtf8(frame.Payload.mid(1)));
}

void Link::TakeNews(ServerNews news, const QString& text)
{
    if (news == ServerNews::Down && !m_WasUp) return Drop(text);
    if (!m_WasUp) m_MayStart = news == ServerNews::Started;
    if (!m_Up.isValid()) m_Up.start();
    m_State.IsUp = news != ServerNews::Down;
    m_State.Trouble = m_State.IsUp ? m_VersionNote : InShort(text);
    m_WasUp = m_WasUp || m_State.IsUp;
    m_Attempts = 0;
    Q_EMIT Changed();
}

void Link::Carry(int socket)
{
    if (!m_State.IsUp || m_Streams->IsFull()) {
        close(socket);
        return;
    }
    m_Pipe->Send({FrameType::Open, ++m_LastStream});
    if (m_Streams) m_Streams->Add(m_LastStream, socket);
    else close(socket);
}

void Link::Drop(const QString& why)
{
    const bool wasRefused = IsRefusal(why);
    Forget();
    if (!m_WasUp) return Q_EMIT Failed(why);
    m_State.IsUp = false;
    m_State.Trouble = InShort(why);
    const bool hasStoodLong = m_Up.isValid() && m_Up.hasExpired(StoodLongMs);
    m_Up.invalidate();
    m_Retry.start(wasRefused ? PauseAfterRefusalMs : hasStoodLong ? 0 : PauseMs);
    Q_EMIT Changed();
}

/// Some of it may be in the midst of a function of its own.
void Link::Forget()
{
    m_GreetingDue.stop();
    DeleteLater(m_Readable);
    DeleteLater(m_Streams);
    DeleteLater(m_Pipe);
    DeleteLater(m_Ssh);
}

QString Link::WhyEnded(int exitCode) const
{
    constexpr int notFound = 127;
    constexpr int wrongUse = 2;
    QStringList parts;
    if (exitCode == notFound) parts << QStringLiteral("no program \"velsqlserver\" was found on the path of its shell");
    if (exitCode == wrongUse) parts << QStringLiteral("its velsqlserver cannot be connected to; it may be too old");
    if (!m_Ssh->LastWords().isEmpty()) parts << m_Ssh->LastWords();
    if (!m_Greeting.Before().isEmpty()) parts << m_Greeting.Before();
    if (parts.isEmpty() && exitCode < 0) parts << QStringLiteral("ssh was killed");
    if (parts.isEmpty()) parts << QStringLiteral("ssh has ended with code %1").arg(exitCode);
    return parts.join(u'\n');
}
