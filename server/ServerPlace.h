#pragma once

#include <QString>

#include <csignal>

/// The place of the user's server at its socket, and how one server hands it over to another: a service takes it from a
/// server that a console, a script or a user without a plant of his own has started.
namespace ServerPlace {

/// Asks a server that gives way to end.
inline constexpr int RequestSignal = SIGUSR2;

/// Says, in the socket's lock file, whether this server gives way; while it holds the lock.
void Announce(const QString& socketPath, bool givesWay);

/// Makes a server that gives way end; returns when none is left, and at once where there is none. Throws DescribedError
/// when it stays.
void Take(const QString& socketPath);

/// Where the one that ends leaves its added items for the one that comes.
QString HandOverPath(const QString& socketPath);

} // namespace ServerPlace
