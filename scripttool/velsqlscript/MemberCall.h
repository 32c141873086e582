#pragma once

#include "core/automation/Errors.h"
#include "scripttool/velsqlscript/Members.h"
#include "scripttool/velsqlscript/ResultRows.h"
#include "scripttool/velsqlscript/TypedValues.h"

#include <type_traits>
#include <utility>

/// Makes members from the operations of server objects: arguments and results are converted to the operation's types.

template <typename Object>
Object& Self(const Variant& self)
{
    auto* object = dynamic_cast<Object*>(self.Get<ObjectRef>().get());
    if (!object) throw ValueError::TypeMismatch();
    return *object;
}

template <typename T>
T FittedTo(const Variant& value)
{
    if constexpr (std::is_same_v<T, Variant>) return value;
    else if constexpr (std::is_same_v<T, QString>) return ToText(value);
    else if constexpr (std::is_same_v<T, bool>) return ToBool(value);
    else return ToInt32(value);
}

template <typename T>
T ArgumentAs(const Arguments& arguments, qsizetype index)
{
    if (index >= arguments.size()) return T();
    try {
        return FittedTo<T>(arguments[index]);
    } catch (const ValueError& error) {
        throw ValueError(QStringLiteral("argument %1: %2").arg(index + 1).arg(error.Description()));
    }
}

inline Variant ResultOf(const ResultSetRef& result)
{
    return ObjectRef(std::make_shared<ResultRows>(result));
}

template <typename T>
Variant ResultOf(const std::shared_ptr<T>& object)
{
    return ObjectRef(object);
}

template <typename T>
    requires Variant::IsAlternative<T> Variant ResultOf(const T& value)
    {
        return Variant(value);
    }

inline Variant ResultOf(const Variant& value)
{
    return value;
}

template <typename Object, typename Result, typename... Parameters, std::size_t... Indexes>
Variant Invoke(Object& object, Result (Object::*operation)(Parameters...), const Arguments& arguments,
               std::index_sequence<Indexes...>)
{
    const auto call = [&] {
        return (object.*operation)(ArgumentAs<std::remove_cvref_t<Parameters>>(arguments, Indexes)...);
    };
    if constexpr (std::is_void_v<Result>) return call(), Variant();
    else return ResultOf(call());
}

template <typename Object, typename Result, typename... Parameters>
Member Function(QStringView name, Result (Object::*operation)(Parameters...),
                qsizetype required = sizeof...(Parameters))
{
    return {name.toString(),
            false,
            required,
            sizeof...(Parameters),
            [operation](const Variant& self, const Arguments& arguments) {
                return Invoke(Self<Object>(self), operation, arguments, std::index_sequence_for<Parameters...>());
            },
            {}};
}

template <typename Object, typename Result>
Member Property(QStringView name, Result (Object::*get)())
{
    Member member = Function(name, get);
    member.IsProperty = true;
    return member;
}

template <typename Object, typename Result, typename Value>
Member Property(QStringView name, Result (Object::*get)(), void (Object::*put)(Value))
{
    Member member = Property(name, get);
    member.Put = [put](const Variant& self, const Variant& value) {
        (Self<Object>(self).*put)(FittedTo<std::remove_cvref_t<Value>>(value));
    };
    return member;
}
