#pragma once

#include "server/plantfile/PlantFile.h"
#include "tests/server/ServerRun.h"
#include "tests/server/TestPlant.h"

/// A plant file with the given text, and what reading it says.
class PlantFileTest : public ::testing::Test
{
protected:
    /// The mistakes with their lines, the folder cut away.
    QString MistakesIn(const QByteArray& text)
    {
        WriteFile(m_Path, text);
        return OutcomeOf([&] { m_History = ReadPlantFile(m_Path, m_Plant); }).remove(m_Folder.path() + u'/');
    }

    QTemporaryDir m_Folder;
    QString m_Path = m_Folder.filePath(u"plant.toml"_s);
    TestPlant m_Plant;
    HistorySettings m_History;
};
