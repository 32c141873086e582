#pragma once

#include <QMap>
#include <QSet>

/// What the clients of a run know for certain, also those that have gone.
struct Book
{
    /// Numbers that were written to an item, by its name, each of them another one; those whose writing was answered.
    QMap<QString, QList<qint32>> Confirmed;
    QSet<QString> Added; ///< items that operators have added and not removed
    QSet<QString> Maybe; ///< whose adding or removing was not answered
};
