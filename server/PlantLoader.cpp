#include "server/PlantLoader.h"

#include "server/plantfile/DemoPlant.h"
#include "server/plantfile/PlantFile.h"

namespace {

QByteArray Packed(const QByteArray& toml)
{
    constexpr int quickly = 1; // a large plant repeats itself, so that this is enough
    return qCompress(toml, quickly);
}

PlantLoader::Description Fill(Plant& plant)
{
    BuildDemoPlant(plant);
    return {DefaultHistorySettings(), Packed(DemoPlantToml())};
}

PlantLoader::Description Fill(Plant& plant, PlantFile& file, ReadingProgress& progress)
{
    HistorySettings history = file.Fill(plant, progress);
    return {std::move(history), Packed(file.Toml())};
}

} // namespace

PlantLoader::PlantLoader(const QString& path, Plant& plant, Loop& loop, std::function<void()> done)
    : m_Worker([outcome = m_Outcome, path, &plant, &loop, done = std::move(done)](const std::stop_token&) {
        std::optional<PlantFile> file; // destroyed when the server serves already
        try {
            outcome->Description = path.isEmpty() ? Fill(plant) : Fill(plant, file.emplace(path), outcome->Progress);
        } catch (...) {
            outcome->Failure = std::current_exception();
        }
        if (!outcome->Progress.IsCancelled()) loop.Post(done);
    })
{
}

QString PlantLoader::Progress() const
{
    const qint64 items = m_Outcome->Progress.Items();
    return items == 0 ? QStringLiteral("The VelSQL server is reading its plant.")
                      : QStringLiteral("The VelSQL server is reading its plant: %1 items so far.").arg(items);
}

PlantLoader::Description PlantLoader::Take()
{
    if (m_Outcome->Failure) std::rethrow_exception(m_Outcome->Failure);
    return std::move(m_Outcome->Description);
}
