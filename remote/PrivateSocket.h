#pragma once

#include "remote/Descriptor.h"
#include "velsqllib/ServerSocket.h"

#include <QSocketNotifier>
#include <QTemporaryDir>

#include <functional>
#include <optional>

/// The socket at which programs of this user reach the remote server, in a folder of its own. It is there while the
/// link stands: whoever finds none knows at once, and nobody else ever listens there.
class PrivateSocket : public QObject
{
    Q_OBJECT

public:
    /// Makes the folder only. Throws DescribedError when that is not possible.
    PrivateSocket();

    QString Path() const { return m_Folder.filePath(QStringLiteral("server.sock")); }
    /// It listens, and nobody has swept the socket away.
    bool IsThere() const;
    /// Listens, or ceases to. Throws DescribedError when it cannot listen.
    void Listen(bool listen);

Q_SIGNALS:
    /// A connection of this user: non-blocking, close-on-exec.
    void Connected(int socket);

private:
    void Accept();

    QTemporaryDir m_Folder;
    std::optional<ListeningSocket> m_Socket;
    std::optional<QSocketNotifier> m_Incoming;
};
