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

/// What distinguishes a file from every other one that is there.
struct FileMark
{
    quint64 Device = 0;
    quint64 Number = 0;

    /// All zero for a path without a file.
    static FileMark Of(const QString& path);
    bool operator==(const FileMark&) const = default;
};

/// The server's end: the socket file, mode 0600 in a folder of mode 0700, held by one server at a time.
class ListeningSocket
{
public:
    /// Throws DescribedError when another server is running, the folder is not private, the path is too long, and so
    /// on.
    explicit ListeningSocket(const QString& path = ServerSocketPath());
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;
    /// Removes the socket file, if it is still this one's.
    ~ListeningSocket();

    const QString& Path() const { return m_Path; }
    /// Listening, non-blocking, close-on-exec; -1 when Renew has failed.
    int Descriptor() const { return m_Socket; }
    /// Nobody has removed or replaced the socket file.
    bool IsThere() const;
    /// Listens again, with another descriptor, when the socket file is no longer there. Throws DescribedError, above
    /// all when another server has taken the place.
    void Renew();

private:
    void MakeFolder() const;
    void Lock();
    void Listen();
    void CloseSocket();

    QString m_Path;
    int m_Lock = -1;
    int m_Socket = -1;
    FileMark m_File;
};
