#pragma once

#include "server/history/History.h"
#include "server/plant/Plant.h"

/// A plant file has mistakes; they are listed one a line, as "<file>:<line>: <what is wrong>".
class PlantFileError : public DescribedError
{
public:
    using DescribedError::DescribedError;
};

/// Fills an empty plant as a TOML file says and returns how its history is to be kept. Throws PlantFileError.
HistorySettings ReadPlantFile(const QString& path, Plant& plant);

/// Reads a plant file for nothing but to say what is in it: "<file>: 3 controllers, 40 items". Throws PlantFileError.
QString DescribePlantFile(const QString& path);

/// How the history of a plant file is kept, that of the demo plant without one. Throws PlantFileError.
HistorySettings HistoryOf(const QString& path);

/// plant.toml in the user's configuration folder, whether it is there or not.
QString UserPlantFile();
