#pragma once

#include "remote/FramePipe.h"
#include "remote/Greeting.h"
#include "remote/SshProcess.h"
#include "remote/Streams.h"
#include "velsqllib/RemoteLink.h"

#include <QElapsedTimer>
#include <QSocketNotifier>

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
    void ReadGreeting();
    void Use(const Greeting& greeting);
    void Handle(const Frame& frame);
    void TakeNews(ServerNews news, const QString& text);
    /// `why` in full.
    void Drop(const QString& why);
    void Forget();
    QString WhyEnded(int exitCode) const;

    const QString m_Host;
    RemoteLink m_State;
    bool m_WasUp = false;
    /// The server there is the user's own, started by a bridge: it may be started again.
    bool m_MayStart = true;
    QString m_VersionNote;
    int m_Attempts = 0;
    QElapsedTimer m_Up; ///< since the bridge first spoke of the server
    quint32 m_LastStream = 0;
    QTimer m_Retry;
    QTimer m_GreetingDue;
    std::unique_ptr<SshProcess> m_Ssh;
    Descriptor m_Output;
    std::unique_ptr<QSocketNotifier> m_Readable;
    GreetingReader m_Greeting;
    std::unique_ptr<FramePipe> m_Pipe;
    std::unique_ptr<Streams> m_Streams;
};
