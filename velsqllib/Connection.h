#pragma once

#include "core/automation/Errors.h"
#include "velsqllib/Attachment.h"
#include "velsqllib/EventQueue.h"
#include "velsqllib/ForeseenCalls.h"
#include "velsqllib/WireValue.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <concepts>

class ControllerSubscription;

/// The connection from the console to the server: owns the socket, makes every call, and finds the server again when it
/// has been restarted.
class Connection : public QObject, public std::enable_shared_from_this<Connection>
{
    Q_OBJECT

public:
    explicit Connection(const QString& socketPath, const Attachment::Patience& patience = {});
    ~Connection() override;

    /// The socket is that of a server on another machine: errors say which, and what is wrong with the link.
    void SetRemote() { m_IsRemote = true; }
    /// Why Attach has found no server.
    QString WhyUnreachable() const;

    /// Tries to reach a running server, no matter when it was last tried. Throws ServerError for a server that must not
    /// be used.
    bool Attach();
    /// There was an attachment, and its server has gone.
    bool IsLost() const { return m_Attachment && m_Attachment->IsLost(); }
    /// Why calls fail at present, as they say it; empty while there is a server, and before there was one.
    QString Absence() const;
    /// Numbers the attachments: references that were got under another number are stale.
    quint64 Generation() const { return m_Generation; }
    /// The engine of the present attachment; only inside a call.
    wire::Engine::Client& Engine() { return m_Attachment->Engine(); }
    auto CreateEngineRequest() { return m_Attachment->Library().createEngineRequest(); }
    auto PingRequest() { return m_Attachment->Library().pingRequest(); }

    /// Makes every call on the server: `send` builds and sends the request, `read` reads the answer. Fails at once
    /// while there is no server (it is looked for a few times a second at most) or while the server hangs. Throws ServerError
    /// with the server's own description.
    template <std::invocable Send, typename Read>
    auto Call(Send&& send, Read&& read)
    {
        if (m_Foreseen && m_Foreseen->IsForeseeing()) throw ServerError(QStringLiteral("This cannot be foreseen."));
        return Reading([&] {
            EnsureUsable();
            return read(m_Attachment->Await(send()));
        });
    }
    /// Reads what a server has answered. Throws ServerError with the server's own description.
    template <std::invocable Read>
    auto Reading(Read&& read)
    {
        try {
            return read();
        } catch (const kj::Exception& failure) {
            NoteFailure(failure);
            throw ToServerError(failure);
        }
    }
    /// Only inside a call. Throws ServerError when the server is too old for what was added at that level.
    void RequireLevel(quint16 level);

    /// What this client knows of the schema: on a plain loop no more than clients of the first version did.
    quint16 Level() const { return m_Loop->GetKind() == KjLoop::Kind::Plain ? 0 : wire::LEVEL; }
    /// See VelSQLLib, these two.
    qsizetype TakeSteps(const QList<CallStep>& steps, qsizetype first);
    QString VersionNote() const;
    /// The calls that are foreseen, or answered, at present; null most of the time.
    ForeseenCalls* Foreseen() { return m_Foreseen; }

    /// See VelSQLLib, these two.
    bool IsPrompt() const { return m_Attachment && m_Attachment->IsPrompt(); }
    void OnLongCall(std::function<void()> action) { m_LongCall = std::move(action); }

    /// Called with what the server has to do before it can answer any call, such as reading its plant: now and then
    /// while a call waits for that. Runs inside the call.
    void OnServerBusy(std::function<void(const QString& what)> action) { m_ServerBusy = std::move(action); }

    /// See VelSQLLib. With an action, a lost server is also looked for while nobody calls.
    void OnServerChange(std::function<void()> action) { m_ServerChange = std::move(action); }

    /// Soon sends what dropping references has left to be sent, because KJ does not run by itself.
    void PollLater();

    WireObjects& Objects() { return *m_Objects; }
    EventQueue& Events() { return m_Events; }
    /// Subscriptions are renewed with every new attachment.
    void AddSubscription(ControllerSubscription* subscription) { m_Subscriptions.append(subscription); }
    void RemoveSubscription(ControllerSubscription* subscription) { m_Subscriptions.removeOne(subscription); }

private:
    void EnsureUsable();
    int AttemptInterval() const;
    void AskTogether(ForeseenCalls& calls, const QList<CallStep>& steps, qsizetype first);
    void Search();
    void NoteState();
    void TellState();
    void NoteFailure(const kj::Exception& failure);
    /// A text of this side about the server, with the machine where it runs if that is another one.
    QString WithPlace(QString text) const;
    [[nodiscard]] ServerError ToServerError(const kj::Exception& failure) const;

    QString m_SocketPath;
    bool m_IsRemote = false;
    Attachment::Patience m_Patience;
    std::shared_ptr<KjLoop> m_Loop;
    std::unique_ptr<WireObjects> m_Objects;
    std::unique_ptr<Attachment> m_Attachment;
    EventQueue m_Events{[this](const QList<CallStep>& steps, qsizetype first) { return TakeSteps(steps, first); }};
    ForeseenCalls* m_Foreseen = nullptr;
    QList<ControllerSubscription*> m_Subscriptions;
    QElapsedTimer m_LastAttempt;
    std::function<void()> m_LongCall = [] {};
    std::function<void()> m_ServerChange;
    std::function<void(const QString&)> m_ServerBusy = [](const QString&) {};
    QString m_ToldAbsence;
    QTimer m_Search;
    quint64 m_Generation = 0;
    bool m_NewsPending = false;
};

using ConnectionRef = std::shared_ptr<Connection>;
