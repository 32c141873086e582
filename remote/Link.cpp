#include "remote/Link.h"

#include "core/automation/Errors.h"

#include <unistd.h>

namespace {

/// An operator waits for nothing longer than six seconds.
constexpr int PatienceMs = 4000;
/// After the first failures, and later.
constexpr int ShortPauseMs = 200;
constexpr int PauseMs = 500;
constexpr int FewFailures = 5;
/// A link that has stood for so long is made again without a pause.
constexpr int StoodLongMs = 3000;
/// After a refusal: it may ask questions anew each time, and hosts lock out who knocks too often.
constexpr int PauseAfterRefusalMs = 15'000;
/// After this time another attempt is made beside one that lasts: what it waits for may have died with the network,
/// which is back.
constexpr int BesideMs = 1500;

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
    m_BesideDue.setSingleShot(true);
    connect(&m_Retry, &QTimer::timeout, this, [this] { Attempt(SshProcess::Attempt::Again); });
    connect(&m_BesideDue, &QTimer::timeout, this, &Link::AttemptBeside);
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
    if (kind != SshProcess::Attempt::First) m_BesideDue.start(BesideMs);
    Start(m_Attempt, kind);
}

void Link::AttemptBeside()
{
    Start(m_Beside, SshProcess::Attempt::Beside);
}

void Link::Start(std::unique_ptr<LinkAttempt>& attempt, SshProcess::Attempt kind)
{
    attempt = std::make_unique<LinkAttempt>(m_Host, kind);
    connect(attempt.get(), &LinkAttempt::Greeted, this,
            [this, it = attempt.get()](const Greeting& greeting) { NoteGreeting(it, greeting); });
    connect(attempt.get(), &LinkAttempt::Failed, this,
            [this, it = attempt.get()](const QString& why) { NoteFailure(it, why); });
    attempt->Start();
}

void Link::NoteGreeting(const LinkAttempt* attempt, const Greeting& greeting)
{
    m_BesideDue.stop();
    if (attempt == m_Beside.get()) m_Attempt.swap(m_Beside);
    DeleteLater(m_Beside);
    try {
        Use(greeting);
    } catch (const DescribedError& error) {
        Drop(error.Description());
    }
}

void Link::NoteFailure(const LinkAttempt* attempt, const QString& why)
{
    if (attempt == m_Beside.get()) {
        DeleteLater(m_Beside);
        if (!IsRefusal(why)) m_BesideDue.start(PauseMs); // else the other one has to ask
    } else if (m_Beside) {
        m_Attempt.swap(m_Beside); // it is the younger one
        DeleteLater(m_Beside);
        m_BesideDue.start(BesideMs);
    } else {
        Drop(why);
    }
}

void Link::Use(const Greeting& greeting)
{
    const QString versions = QStringLiteral("VelSQLTester is version %1 there, and %2 here")
                                 .arg(greeting.Version, QStringLiteral(VELSQL_VERSION));
    if (greeting.Protocol != Greeting::OwnProtocol)
        throw DescribedError(versions + QStringLiteral("; they do not understand each other"));
    m_State.Place = PlaceOf(m_Host, greeting.User);
    m_VersionNote = greeting.Version == QStringLiteral(VELSQL_VERSION) ? QString() : versions;
    m_Pipe = std::make_unique<FramePipe>(m_Attempt->TakeOutput(), m_Attempt->TakeInput(), PatienceMs);
    m_Streams = std::make_unique<Streams>(*m_Pipe);
    connect(m_Pipe.get(), &FramePipe::Lost, this,
            [this](const QString& why) { Drop(why.isEmpty() ? QStringLiteral("the link has broken off") : why); });
    m_Pipe->Send({FrameType::Serve, 0, m_MayStart ? QByteArrayLiteral("1") : QByteArrayLiteral("0")});
    if (m_Pipe) m_Pipe->Begin([this](const Frame& frame) { Handle(frame); }, m_Attempt->Rest());
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
    if (!m_Up.isValid()) m_Up.start();
    m_State.IsUp = news != ServerNews::Down;
    if (m_State.IsUp) NoteServer(news, text);
    m_State.Trouble = m_State.IsUp ? m_VersionNote : InShort(text);
    m_WasUp = m_WasUp || m_State.IsUp;
    m_Failures = 0;
    Q_EMIT Changed();
}

/// One that others have started, perhaps in place of the user's own after a reboot, may have another plant.
void Link::NoteServer(ServerNews news, const QString& server)
{
    if (news == ServerNews::Started) m_OwnServer = server;
    m_MayStart = news == ServerNews::Started || (!server.isEmpty() && server == m_OwnServer);
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
    const int pause = ++m_Failures > FewFailures ? PauseMs : ShortPauseMs;
    m_Up.invalidate();
    m_Retry.start(wasRefused ? PauseAfterRefusalMs : hasStoodLong ? 0 : pause);
    Q_EMIT Changed();
}

/// Some of it may be in the midst of a function of its own.
void Link::Forget()
{
    m_BesideDue.stop();
    DeleteLater(m_Streams);
    DeleteLater(m_Pipe);
    DeleteLater(m_Beside);
    DeleteLater(m_Attempt);
}
