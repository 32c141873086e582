#include "velsqllib/Connection.h"

#include "core/automation/Errors.h"
#include "velsqllib/ClientObjects.h"
#include "velsqllib/ControllerSubscription.h"
#include "velsqllib/ServerSocket.h"

#include <QTimer>

namespace {

constexpr qint64 AttemptIntervalMs = 1000;
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
    m_Attachment = std::make_unique<Attachment>(m_Loop, socket, m_Patience, [this] { m_LongCall(); });
    ++m_Generation;
    for (ControllerSubscription* subscription : m_Subscriptions) subscription->Renew();
    return true;
}

void Connection::EnsureUsable()
{
    if (m_Attachment && m_Attachment->IsHanging()) m_Attachment->Poll(); // the answer may have arrived already
    if (m_Attachment && !m_Attachment->IsLost()) {
        if (m_Attachment->IsHanging()) throw ServerError(QStringLiteral("The server does not answer."));
        return;
    }
    const bool tooSoon = m_LastAttempt.isValid() && m_LastAttempt.elapsed() < AttemptIntervalMs;
    if (tooSoon || !Attach()) throw ServerError(QStringLiteral("The server is not running."));
}

void Connection::NoteFailure(const kj::Exception& failure)
{
    // KJ reports the end of the connection to the call first. The next call must not try the dead connection again.
    if (m_Attachment && IsLocal(failure) && failure.getType() == kj::Exception::Type::DISCONNECTED)
        m_Attachment->SetLost();
}

ServerError Connection::ToServerError(const kj::Exception& failure)
{
    const kj::StringPtr description = failure.getDescription();
    if (!IsLocal(failure)) return ServerError(ToText(description.slice(RemotePrefix.size())));
    if (failure.getType() == kj::Exception::Type::DISCONNECTED)
        return ServerError(
            QStringLiteral("The connection to the server was lost; the call may still have taken effect."));
    return ServerError(ToText(description));
}

void Connection::PollLater()
{
    if (m_PollPending) return;
    m_PollPending = true;
    QTimer::singleShot(0, this, [this] {
        m_PollPending = false;
        if (m_Attachment) m_Attachment->Poll();
    });
}
