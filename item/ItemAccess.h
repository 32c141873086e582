#pragma once

#include "core/automation/ServerObjects.h"

#include <array>

/// A property that the item window gets and puts, and its operations. Elements cannot be got like the others: getting
/// them takes indexes.
struct ItemAccess
{
    QStringView Name;
    Variant (VelSQLItem::*Get)();
    void (VelSQLItem::*Put)(const Variant& value);
};

/// In the order of the window's list.
inline constexpr std::array<ItemAccess, 4> ItemAccesses = {{
    {u"Value", &VelSQLItem::get_Value, &VelSQLItem::put_Value},
    {u"Tag", &VelSQLItem::get_Tag, &VelSQLItem::put_Tag},
    {u"ID", &VelSQLItem::get_ID, &VelSQLItem::put_ID},
    // Intended: putting Elements is the same call as putting ID.
    {u"Elements", nullptr, &VelSQLItem::put_ID},
}};

/// The elements at the typed indexes. These are the numbers at the beginning of up to four comma-separated parts,
/// rounded; missing ones are 0, and the fourth is read but not used. Throws ValueError "Subscript out of range" for a
/// fifth part, "Overflow" for a number beyond 32 bits.
Variant GetElements(VelSQLItem& item, QStringView indexes);
/// Puts the value after the typed number of milliseconds. Throws ValueError "Type mismatch" when the text is not a
/// number.
void PutDelayed(VelSQLItem& item, const QString& milliseconds, const Variant& value);
