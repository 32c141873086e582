#pragma once

#include "server/history/History.h"
#include "server/plant/Plant.h"
#include "server/plantfile/ReadingProgress.h"

/// A plant file has mistakes; they are listed one a line, as "<file>:<line>: <what is wrong>".
class PlantFileError : public DescribedError
{
public:
    using DescribedError::DescribedError;
};

/// A plant's description in TOML. What it keeps of a large one is ten times as large as the file and takes a second to
/// be given back, so that it is best destroyed where nobody waits.
class PlantFile
{
public:
    explicit PlantFile(QString path);
    PlantFile(const PlantFile&) = delete;
    PlantFile& operator=(const PlantFile&) = delete;
    ~PlantFile();

    /// Fills an empty plant and returns how its history is to be kept. Throws PlantFileError. To be called once.
    HistorySettings Fill(Plant& plant, ReadingProgress& progress);
    /// The file as it was read.
    const QByteArray& Toml() const;

private:
    struct Content;

    const QString m_Path;
    std::unique_ptr<Content> m_Content;
};

/// The same in one.
HistorySettings ReadPlantFile(const QString& path, Plant& plant);

/// Reads a plant file for nothing but to say what is in it: "<file>: 3 controllers, 40 items". Throws PlantFileError.
QString DescribePlantFile(const QString& path);

/// How the history of a plant file is kept, that of the demo plant without one. Throws PlantFileError.
HistorySettings HistoryOf(const QString& path);

/// plant.toml in the user's configuration folder, whether it is there or not.
QString UserPlantFile();
