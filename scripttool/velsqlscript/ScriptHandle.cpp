#include "scripttool/velsqlscript/ScriptHandle.h"

#include "scripttool/velsqlscript/ResultRows.h"

#include <array>

ObjectKind KindOf(const ObjectRef& object)
{
    const auto is = [&]<typename T>(std::type_identity<T>) { return dynamic_cast<const T*>(object.get()) != nullptr; };
    if (is(std::type_identity<VelSQLItem>())) return ObjectKind::Item;
    if (is(std::type_identity<VelSQLController>())) return ObjectKind::Controller;
    if (is(std::type_identity<VelSQLEngine>())) return ObjectKind::Engine;
    if (is(std::type_identity<VelSQLHistory>())) return ObjectKind::History;
    if (is(std::type_identity<ResultRows>())) return ObjectKind::ResultSet;
    return ObjectKind::Unknown;
}

QString KindName(ObjectKind kind)
{
    static const std::array<QString, 7> Names = {
        QStringLiteral("Engine"),    QStringLiteral("Controller"), QStringLiteral("Item"),  QStringLiteral("History"),
        QStringLiteral("ResultSet"), QStringLiteral("TypedValue"), QStringLiteral("Object")};
    return Names.at(static_cast<std::size_t>(kind));
}
