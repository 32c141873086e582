#pragma once

#include "core/automation/Variant.h"

#include <QHash>

/// How large values are when they are sent or written out. A block that occurs in several places counts in each of
/// them, but is measured only once.
class ValueSize
{
public:
    static constexpr qint64 MostBytes = 64 * 1024 * 1024;

    /// Throws ValueError when an array of `values` is nested too deeply or too large for an item.
    static void CheckArrayOf(const QList<Variant>& values);

private:
    struct Size
    {
        qint64 Bytes; ///< stops a little above MostBytes
        int Depth;    ///< nesting of arrays
    };

    Size Of(const Variant& value);
    Size OfArray(const SafeArray& array);
    Size Sum(const QList<Variant>& values);

    QHash<const SafeArray*, Size> m_Known;
};
