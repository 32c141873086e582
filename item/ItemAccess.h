#pragma once

#include "core/automation/ServerObjects.h"

#include <array>

/// A property that the item window gets and puts, and its operations. Elements have no Get: they are got by indexes.
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

/// The elements at the typed indexes: the numbers at the head of up to four parts between commas, rounded; missing ones
/// are 0. The fourth is read and dropped. Throws ValueError "Subscript out of range" for a fifth part, "Overflow" for a
/// number beyond 32 bits.
Variant GetElements(VelSQLItem& item, QStringView indexes);
/// Puts the value after the typed number of milliseconds. Throws ValueError "Type mismatch" for what is not a number.
void PutDelayed(VelSQLItem& item, const QString& milliseconds, const Variant& value);
