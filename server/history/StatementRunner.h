#pragma once

#include "server/history/Database.h"
#include "server/history/ResultSpool.h"
#include "server/history/Worker.h"

#include <kj/async.h>

#include <list>

using ResultSpoolRef = std::shared_ptr<ResultSpool>;

/// Runs SQL statements, each on a thread and a connection of its own, so that neither waits for another nor the event loop for any.
class StatementRunner
{
public:
    /// The result as soon as its columns are known; its rows follow. When the last reference to it goes, reading ends.
    /// Throws DescribedError when too many are running; the promise fails with the database's description.
    kj::Promise<ResultSpoolRef> Run(const DatabaseAddress& address, const QString& statement);
    /// See Worker::RequestStop.
    void RequestStop();

private:
    std::list<Worker> m_Workers;
};
