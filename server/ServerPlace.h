#pragma once

#include <QString>

#include <csignal>

/// The place of the user's server at its socket, and how one server hands it over to another: a service takes it from a
/// server that was started by a console, a script or a user without a plant of his own.
namespace ServerPlace {

/// Asks a server that gives way to end.
inline constexpr int RequestSignal = SIGUSR2;

/// Writes to the socket's lock file whether this server gives way; to be called while it holds the lock.
void Announce(const QString& socketPath, bool givesWay);

/// Makes a server that gives way end, and returns when none is left. Returns at once when none is running. Throws
/// DescribedError when the server stays.
void Take(const QString& socketPath);

/// The file in which a server that ends leaves its added items for the next one.
QString HandOverPath(const QString& socketPath);

} // namespace ServerPlace
