#pragma once

#include "core/automation/ItemChoices.h"
#include "server/plant/ItemTraits.h"

#include <string_view>

/// What the choices of an item definition mean to the plant. Definitions hold positions in the lists of ItemChoices.h;
/// a table that differs from its list does not compile.

inline constexpr std::array<Choice<ItemKind>, 3> ItemKinds = {{
    {u"Normal", ItemKind::Normal},
    {u"Alias", ItemKind::Alias},
    {u"Array", ItemKind::Array},
}};
inline constexpr std::array<Choice<Access>, 3> Attributes = {{
    {u"Read / Write", Access::ReadWrite},
    {u"Read Only", Access::ReadOnly},
    {u"Write Only", Access::WriteOnly},
}};
inline constexpr std::array<Choice<ForcedChange>, 3> ForcedChanges = {{
    {u"n/a", ForcedChange::Never},
    {u"Reading", ForcedChange::Reading},
    {u"Writing", ForcedChange::Writing},
}};
inline constexpr std::array<Choice<LinkedProperty>, 4> LinkedProperties = {{
    {u"0:  Value", LinkedProperty::Value},
    {u"1:  ID", LinkedProperty::Id},
    {u"2:  Activation", LinkedProperty::Activation},
    {u"3:  LinkActivation", LinkedProperty::LinkActivation},
}};

/// Whose variable an item is bound to.
enum class ObjectClass
{
    Controller,
    Task,
    Robot,
    Extension,
    File
};
inline constexpr std::array<Choice<ObjectClass>, 5> ObjectClasses = {{
    {u"Controller Class", ObjectClass::Controller},
    {u"Task Class", ObjectClass::Task},
    {u"Robot Class", ObjectClass::Robot},
    {u"Extension Class", ObjectClass::Extension},
    {u"File Class", ObjectClass::File},
}};

template <typename Meaning, std::size_t Count>
constexpr bool Follows(const std::array<Choice<Meaning>, Count>& meanings, const std::array<QStringView, Count>& list)
{
    const auto text = [](QStringView view) {
        return std::u16string_view(view.utf16(), static_cast<std::size_t>(view.size()));
    };
    for (std::size_t i = 0; i < Count; ++i)
        if (text(meanings[i].Text) != text(list[i])) return false;
    return true;
}
static_assert(Follows(ItemKinds, ItemTypeChoices) && Follows(Attributes, AttributeChoices) &&
              Follows(ForcedChanges, ForceChoices) && Follows(LinkedProperties, PropertyChoices) &&
              Follows(ObjectClasses, ClassChoices));
