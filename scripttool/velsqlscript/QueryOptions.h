#pragma once

#include <QString>

/// One statement on the history, and where its rows go.
struct QueryOptions
{
    enum class Format
    {
        Tabs,
        Csv,
        Json
    };

    QString Statement;
    Format As = Format::Tabs;
    QString File = QStringLiteral("-"); ///< "-" is standard output
};
