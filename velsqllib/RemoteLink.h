#pragma once

#include <QString>

#include <optional>

/// A server on another machine, as velsqlremote offers it to the programs that it starts: a socket that is there while
/// the link stands, named by a variable, and beside it a file that says how the link stands.
struct RemoteLink
{
    /// The variable that names the socket. Only velsqlremote sets it, and whatever it starts inherits it.
    static constexpr auto Variable = "VELSQL_REMOTE_SOCKET";

    QString Place;   ///< USER@HOST
    QString Trouble; ///< what is wrong, in one line; empty when nothing is
    bool IsUp = false;

    /// The socket that stands for the remote server; nothing when the programs use the user's own server. An empty path
    /// is nobody's socket, but still no reason to start a server.
    static std::optional<QString> Socket();

    /// How the link of that socket stands now.
    static RemoteLink Read(const QString& socketPath);
    /// Whether there is something to read.
    static bool IsThere(const QString& socketPath);
    /// For velsqlremote. Throws DescribedError when the file cannot be written.
    void Write(const QString& socketPath) const;
};
