#pragma once

#include <QString>

/// Where what this user's servers keep lies: velsql in XDG_STATE_HOME, else in ~/.local/state. It need not be there
/// yet.
QString StateFolder();

/// Makes a folder that only this user may look into, with those above it; one that is there stays as it is.
void MakePrivateFolder(const QString& path);

/// The log of a server that is started for the socket: server.log in the state folder. Other sockets that share the
/// state folder have files of their own beside it.
QString ServerLogPath(const QString& socketPath);
