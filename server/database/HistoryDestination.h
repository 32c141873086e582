#pragma once

#include <QString>

/// What must never be lost once it is written.
enum class Durability
{
    Process, ///< survives the end of a program of any kind; a power cut costs what the system had not written
    Power    ///< survives a power cut: the disk is waited for
};

/// One place where values are recorded.
struct HistoryDestination
{
    QString ConnectionString; ///< empty when not used
    QString TableName = QStringLiteral("velsql_history");
    qint32 MaxRecord = 100'000; ///< 0: no limit
    Durability Surviving = Durability::Process;
};
