#pragma once

#include "server/history/History.h"
#include "server/plant/Plant.h"
#include "server/plantfile/ReadingProgress.h"
#include "server/worker/Worker.h"

#include <exception>

/// Fills a plant on a thread of its own, so that the server answers pings while a large one is read.
class PlantLoader
{
public:
    /// What is known of a plant besides its items.
    struct Description
    {
        HistorySettings History;
        QByteArray PackedToml; ///< its file as it was read, by qCompress
    };

    /// An empty path stands for the built-in plant. `done` runs on the loop; until then nobody else may use the plant.
    PlantLoader(const QString& path, Plant& plant, Loop& loop, std::function<void()> done);
    PlantLoader(const PlantLoader&) = delete;
    PlantLoader& operator=(const PlantLoader&) = delete;
    /// Cancels the reading. A thread that hangs in the file's system is abandoned, see Worker.
    ~PlantLoader() { m_Outcome->Progress.Cancel(); }

    /// For people who wait.
    QString Progress() const;
    /// Once it is done. Throws PlantFileError and what else reading throws.
    Description Take();

private:
    struct Outcome
    {
        ReadingProgress Progress;
        PlantLoader::Description Description;
        std::exception_ptr Failure;
    };

    const std::shared_ptr<Outcome> m_Outcome = std::make_shared<Outcome>();
    Worker m_Worker;
};
