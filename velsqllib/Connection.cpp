#include "velsqllib/Connection.h"

#include "core/automation/Errors.h"
#include "velsqllib/ClientObjects.h"
#include "velsqllib/ControllerSubscription.h"
#include "velsqllib/RemoteLink.h"
#include "velsqllib/ServerSocket.h"

#include <QScopedValueRollback>

namespace {

constexpr int AttemptIntervalMs = 1000;
/// Where velsqlremote listens only while there is somebody behind it.
constexpr int RemoteAttemptIntervalMs = 200;
/// The RPC system puts this, exactly once, in front of the text of a failure that the other side has sent.
constexpr kj::StringPtr RemotePrefix = "remote exception: "_kj;

/// The failure arose on this side, in the connection, and not in the server's operation.
bool IsLocal(const kj::Exception& failure)
{
    return !failure.getDescription().startsWith(RemotePrefix);
}

QString ToText(kj::StringPtr text)
{
    return QString::fromUtf8(text.begin(), static_cast<qsizetype>(text.size()));
}

} // namespace

Connection::Connection(const QString& socketPath, const Attachment::Patience& patience)
    : m_SocketPath(socketPath)
    , m_Patience(patience)
    , m_Loop(KjLoop::OfThisThread())
    , m_Objects(std::make_unique<ClientObjects>(*this))
{
    connect(&m_Events, &EventQueue::Handled, this, &Connection::PollLater);
    connect(&m_Search, &QTimer::timeout, this, &Connection::Search);
}

Connection::~Connection()
{
    m_Events.Clear(); // its acknowledgements belong to the attachment
}

bool Connection::Attach()
{
    m_LastAttempt.start();
    int socket = -1;
    try {
        socket = ConnectToServer(m_SocketPath);
    } catch (const DescribedError& error) {
        throw ServerError(error.Description());
    }
    if (socket < 0) return false;
    m_Attachment.reset();
    m_Attachment =
        std::make_unique<Attachment>(m_Loop, socket, m_Patience,
                                     Attachment::Notes{.LongCall = [this] { m_LongCall(); },
                                                       .StateNews = [this] { NoteState(); },
                                                       .Busy = [this](const QString& what) { m_ServerBusy(what); }});
    ++m_Generation;
    for (ControllerSubscription* subscription : m_Subscriptions) subscription->Renew();
    NoteState();
    return true;
}

QString Connection::Absence() const
{
    if (IsLost()) return WhyUnreachable();
    return m_Attachment && m_Attachment->IsHanging() ? WithPlace(QStringLiteral("The server does not answer."))
                                                     : QString();
}

int Connection::AttemptInterval() const
{
    return m_IsRemote ? RemoteAttemptIntervalMs : AttemptIntervalMs;
}

void Connection::Search()
{
    try {
        if (IsLost() && Attach()) PollLater(); // sends what renews subscriptions
    } catch (const ServerError&) {             // the next call tells
    }
    m_LastAttempt.invalidate(); // a call may try at once
}

/// Told later, because this may run inside a call.
void Connection::NoteState()
{
    if (!m_ServerChange || std::exchange(m_NewsPending, true)) return;
    QMetaObject::invokeMethod(this, &Connection::TellState, Qt::QueuedConnection);
}

void Connection::TellState()
{
    m_NewsPending = false;
    if (!IsLost()) m_Search.stop();
    else if (!m_Search.isActive()) m_Search.start(AttemptInterval());
    const QString absence = Absence();
    if (std::exchange(m_ToldAbsence, absence) != absence) m_ServerChange();
}

void Connection::EnsureUsable()
{
    if (m_Attachment && m_Attachment->IsHanging()) m_Attachment->Poll(); // the answer may have arrived already
    if (m_Attachment && !m_Attachment->IsLost()) {
        if (m_Attachment->IsHanging()) throw ServerError(Absence());
        return;
    }
    const bool tooSoon = m_LastAttempt.isValid() && m_LastAttempt.elapsed() < AttemptInterval();
    if (tooSoon || !Attach()) throw ServerError(WhyUnreachable());
}

void Connection::RequireLevel(quint16 level)
{
    if (level == 0) return;
    if (!m_Attachment->Version()) m_Attachment->Await(CreateEngineRequest().send());
    if (m_Attachment->Version() && m_Attachment->Version()->Level >= level) return;
    throw ServerError(WithPlace(QStringLiteral("The server is too old for this operation.")));
}

QString Connection::VersionNote() const
{
    if (!m_Attachment || m_Attachment->IsLost() || !m_Attachment->Version()) return {};
    const QString own = QStringLiteral(VELSQL_VERSION);
    const QString& server = m_Attachment->Version()->Name;
    if (server == own) return {};
    const QString versions = server.isEmpty()
                                 ? QStringLiteral("The server is older than this program, which is version %1").arg(own)
                                 : QStringLiteral("The server is version %1, this program %2").arg(server, own);
    return versions + QStringLiteral("; calls that one of them does not know fail.");
}

qsizetype Connection::TakeSteps(const QList<CallStep>& steps, qsizetype first)
{
    // Taking a step may do anything to the list and to who uses this connection.
    const auto self = shared_from_this();
    const QList<CallStep> kept = steps;
    ForeseenCalls calls;
    const QScopedValueRollback foreseen(m_Foreseen, &calls);
    AskTogether(calls, kept, first);
    return calls.Take(kept, first);
}

/// Leaves the calls unanswered, to be made one by one, where the server does not know better or refuses them together.
void Connection::AskTogether(ForeseenCalls& calls, const QList<CallStep>& steps, qsizetype first)
{
    static const WireMethod& callInTurn = WireMethod::Of<wire::Library, wire::Library::CallInTurnParams>();
    try {
        EnsureUsable();
        const quint16 level = m_Attachment->Version() ? std::min(m_Attachment->Version()->Level, Level()) : quint16{0};
        if (level < callInTurn.Since) return;
        calls.Foresee(steps, first, level);
        if (calls.Count() < 2) return;
        auto request = m_Attachment->Library().callInTurnRequest();
        calls.Write(request);
        calls.SetAnswer(m_Attachment->Await(request.send()));
    } catch (const ServerError& error) {
        calls.SetFailure(error.Description());
    } catch (const kj::Exception& failure) {
        NoteFailure(failure);
        if (IsLocal(failure)) calls.SetFailure(ToServerError(failure).Description());
    }
}

void Connection::NoteFailure(const kj::Exception& failure)
{
    // KJ reports the end of the connection to the call first. The next call must not try the dead connection again.
    if (m_Attachment && IsLocal(failure) && failure.getType() == kj::Exception::Type::DISCONNECTED)
        m_Attachment->SetLost();
}

QString Connection::WhyUnreachable() const
{
    if (!m_IsRemote) return QStringLiteral("The server is not running.");
    const RemoteLink link = RemoteLink::Read(m_SocketPath);
    const QString why = link.IsUp || link.Trouble.isEmpty() ? QStringLiteral("the link is being made") : link.Trouble;
    return QStringLiteral("The server on %1 cannot be reached: %2").arg(link.Place, why);
}

QString Connection::WithPlace(QString text) const
{
    static const QString server = QStringLiteral("he server");
    const qsizetype at = text.indexOf(server);
    if (!m_IsRemote || at < 0) return text;
    return text.insert(at + server.size(), QStringLiteral(" on ") + RemoteLink::Read(m_SocketPath).Place);
}

ServerError Connection::ToServerError(const kj::Exception& failure) const
{
    const kj::StringPtr description = failure.getDescription();
    if (!IsLocal(failure)) return ServerError(ToText(description.slice(RemotePrefix.size())));
    if (failure.getType() == kj::Exception::Type::DISCONNECTED)
        return ServerError(
            WithPlace(QStringLiteral("The connection to the server was lost; the call may still have taken effect.")));
    return ServerError(WithPlace(ToText(description)));
}

void Connection::PollLater()
{
    if (m_Attachment) m_Attachment->PollLater();
}
