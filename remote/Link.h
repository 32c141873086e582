#pragma once

#include "remote/FramePipe.h"
#include "remote/LinkAttempt.h"
#include "remote/Streams.h"
#include "velsqllib/RemoteLink.h"

#include <QElapsedTimer>
#include <QTimer>

#include <memory>

/// The link to the server of another machine: one ssh, made again whenever it is lost.
class Link : public QObject
{
    Q_OBJECT

public:
    explicit Link(const QString& host);
    ~Link() override;

    /// Makes the first attempt.
    void Begin();
    const RemoteLink& State() const { return m_State; }
    /// Carries a connected, non-blocking socket to the server, or closes it when that is not possible now.
    void Carry(int socket);

Q_SIGNALS:
    void Changed();
    /// The first attempt has failed; there is no other. `why` may have several lines.
    void Failed(const QString& why);

private:
    void Attempt(SshProcess::Attempt kind);
    void AttemptBeside();
    void Start(std::unique_ptr<LinkAttempt>& attempt, SshProcess::Attempt kind);
    void NoteGreeting(const LinkAttempt* attempt, const Greeting& greeting);
    void NoteFailure(const LinkAttempt* attempt, const QString& why);
    void Use(const Greeting& greeting);
    void Handle(const Frame& frame);
    void TakeNews(ServerNews news, const QString& text);
    void NoteServer(ServerNews news, const QString& server);
    /// `why` in full.
    void Drop(const QString& why);
    void Forget();

    const QString m_Host;
    RemoteLink m_State;
    bool m_WasUp = false;
    /// The server there is the user's own, started by a bridge: it may be started again.
    bool m_MayStart = true;
    QString m_OwnServer; ///< which it is, as its bridge has said
    QString m_VersionNote;
    QElapsedTimer m_Up; ///< since the bridge first spoke of the server
    int m_Failures = 0; ///< in a row
    quint32 m_LastStream = 0;
    QTimer m_Retry;
    QTimer m_BesideDue;
    std::unique_ptr<LinkAttempt> m_Attempt; ///< later the link
    std::unique_ptr<LinkAttempt> m_Beside;
    std::unique_ptr<FramePipe> m_Pipe;
    std::unique_ptr<Streams> m_Streams;
};
