#pragma once

#include <QString>

/// The folder for what this user's servers keep: velsql in XDG_STATE_HOME, else in ~/.local/state. It may not exist
/// yet.
QString StateFolder();

/// Creates a folder, and those above it that are missing, for this user only; an existing folder stays unchanged.
void MakePrivateFolder(const QString& path);

/// The log of a server that is started for the socket: server.log in the state folder. Other sockets that share the
/// state folder get files of their own beside it.
QString ServerLogPath(const QString& socketPath);
