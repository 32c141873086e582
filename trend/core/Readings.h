#pragma once

#include "trend/core/View.h"

#include <QStringList>

#include <span>

/// What has been measured, as texts: a row for each pen, or several of them.
struct Readings
{
    struct Row
    {
        bool operator==(const Row&) const = default;

        std::size_t Pen = 0; ///< its number
        QStringList Cells;
    };

    QStringList Columns;
    std::vector<Row> Rows;
};

/// The values of the visible pens at the cursors that are set; with both of them how far the second lies from the first
/// and how fast the value got there.
Readings CursorReadings(const View& view, std::span<const Pen* const> pens);

/// Figures about the marked span; about what is shown when none is marked.
Readings SpanReadings(const View& view, std::span<const Pen* const> pens);

/// When, in the same span, the values of pens have crossed their limits: a row for each time, and one for a limit that
/// was not crossed.
Readings LimitReadings(const View& view, std::span<const Pen* const> pens);

/// A figure with the digits that people compare, and its unit.
QString FigureText(double value, const QString& unit = {});
