#pragma once

#include "remote/FramePipe.h"
#include "remote/Streams.h"

#include <QSocketNotifier>

#include <memory>
#include <optional>

class ServerStarter;

/// The end of the link that stands beside the server: `velsqlserver --connect`, with the launcher at the other end of
/// standard input and output.
///
/// It keeps a connection of its own to the server, by which it notices that the server has gone, and by which a server
/// that ends when it is idle stays.
class Bridge : public QObject
{
    Q_OBJECT

public:
    /// `serverProgram` is started when no server runs at the socket and the launcher allows it.
    Bridge(Descriptor input, Descriptor output, const QString& socketPath, const QString& serverProgram);
    ~Bridge() override;

    /// Greets and serves; ends the event loop when the launcher has gone.
    void Begin();

private:
    void Handle(const Frame& frame);
    void Open(quint32 number);
    void Look();
    void LookOrStart();
    void TakePresence(int socket);
    void NoteServerEnd();
    void Tell(ServerNews news, const QString& text = {});

    const QString m_SocketPath;
    const QString m_ServerProgram;
    FramePipe m_Pipe;
    Streams m_Streams{m_Pipe};
    QTimer m_Look;
    bool m_MayStart = false;
    std::unique_ptr<ServerStarter> m_Starter;
    Descriptor m_Presence;
    std::unique_ptr<QSocketNotifier> m_PresenceEnd;
    std::optional<QString> m_Told; ///< why there is no server
};

/// What `velsqlserver --connect` does. Returns the exit code.
int RunBridge(const QString& socketPath);
