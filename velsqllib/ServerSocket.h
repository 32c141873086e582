#pragma once

#include <QString>

/// The socket at which the user's server listens: velsql/server.sock in the runtime folder (XDG_RUNTIME_DIR, else a
/// private folder of that user).
QString ServerSocketPath();

/// Whether the process at the other end of a connected local socket belongs to this user.
bool IsSameUser(int connectedSocket);

/// A connected, non-blocking socket, close-on-exec; -1 when nobody listens there. Throws DescribedError for an unusable
/// path or a listener of another user.
int ConnectToServer(const QString& path);

/// The server's end: the socket file, mode 0600 in a folder of mode 0700, held by one server at a time.
class ListeningSocket
{
public:
    /// Throws DescribedError when another server is running, the folder is not private, the path is too long, and so
    /// on.
    explicit ListeningSocket(const QString& path = ServerSocketPath());
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;
    /// Removes the socket file.
    ~ListeningSocket();

    const QString& Path() const { return m_Path; }
    /// Listening, non-blocking, close-on-exec.
    int Descriptor() const { return m_Socket; }

private:
    void MakeFolder() const;
    void Lock();
    void Listen();

    QString m_Path;
    int m_Lock = -1;
    int m_Socket = -1;
};
