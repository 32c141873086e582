#pragma once

#include "server/plant/ExceptionFilter.h"

#include <QStringList>

enum class Access : quint8
{
    ReadWrite = 0,
    ReadOnly = 1,
    WriteOnly = 2
};
enum class LinkedProperty : quint8
{
    Value = 0,
    Id = 1,
    Activation = 2,
    LinkActivation = 3
};
enum class ForcedChange : quint8
{
    Never = 0,
    Reading = 1,
    Writing = 2
};
enum class ItemKind : quint8
{
    Normal = 0,
    Alias = 1,
    Array = 2
};

/// The description of an item; it never changes. What each reading asks for stands first.
struct ItemTraits
{
    QString Name = {};
    ItemKind Kind = ItemKind::Normal;
    /// Values are converted to this type; VT_VARIANT takes every value unchanged.
    VarType Type = VT_VARIANT;
    Access Attribute = Access::ReadWrite;
    LinkedProperty Property = LinkedProperty::Value;
    /// "(n)" after a link's name means an element of the linked array.
    bool ExtractsElement = false;
    bool Historic = false;
    bool RaisesEvents = true;
    ForcedChange Forced = ForcedChange::Never;
    /// Otherwise every array that arrives counts as a change.
    bool ComparesArrays = true;
    bool TakesEmpty = false; ///< EMPTY may be written, whatever the type
    bool Active = true;
    bool LinkActive = true;
    int ScanClass = 0;    ///< index into the controller's scan times
    Variant Initial = {}; ///< EMPTY when there is none
    QString Description = {};
    Variant Tag = {};
    Variant Id = {};
    QStringList Links = {};                  ///< "[<controller>\]<item>" each
    std::optional<RecordRule> Recorded = {}; ///< when not every change is recorded
    QList<Variant> SettingData = {};
    /// The definition from which it was made; EMPTY when there is none.
    Variant Definition = {};
};
