#pragma once

#include <QString>

#include <chrono>
#include <optional>

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
    // What is kept: the oldest goes beyond any of these. With none of them: DefaultBytes.
    qint32 MaxRecord = 0;                ///< records; 0: any number
    std::optional<qint64> MaxBytes = {}; ///< on the disk; 0: any
    std::chrono::seconds Keep{0};        ///< time; 0: for ever
    Durability Surviving = Durability::Process;
};
