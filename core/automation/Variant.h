#pragma once

#include "core/automation/VarType.h"

#include <QString>

#include <memory>
#include <type_traits>
#include <variant>

class SafeArray;
class ServerObject;

/// A reference to a server object; may be empty, like any automation object reference.
using ObjectRef = std::shared_ptr<ServerObject>;
using SafeArrayRef = std::shared_ptr<const SafeArray>;

/// An amount of money, exact to four decimals.
struct Currency
{
    qint64 TenThousandths = 0;
    bool operator==(const Currency&) const = default;
};

/// A point in time, in days since 1899-12-30 00:00 local time.
struct Date
{
    double Days = 0.0;
    bool operator==(const Date&) const = default;
};

/// The automation value NULL: known to have no value, which is not the same as EMPTY.
struct Null
{
    bool operator==(const Null&) const = default;
};

/// Every value that goes to or comes from the server: an automation type code and its payload. Values never change, and
/// copies are cheap.
class Variant
{
public:
    using Payload = std::variant<std::monostate, Null, bool, qint8, quint8, qint16, quint16, qint32, quint32, float,
                                 double, Currency, Date, QString, ObjectRef, SafeArrayRef>;

    template <typename T>
    static constexpr bool IsAlternative = []<typename... Ts>(std::type_identity<std::variant<Ts...>>) {
        return (std::is_same_v<T, Ts> || ...);
    }(std::type_identity<Payload>{});

    /// EMPTY.
    Variant() = default;
    /// Takes exactly the given type, without conversion, so that `Variant(1)` is an I4 and a character pointer is
    /// refused.
    template <typename T>
        requires(IsAlternative<T> && !std::is_same_v<T, SafeArrayRef>)
    Variant(T value)
        : m_Payload(std::move(value))
    {
    }
    Variant(SafeArray array);
    /// Throws ValueError "Type mismatch" when there is no array.
    Variant(SafeArrayRef array);

    /// The type code; for an array 8192 plus the element's code.
    VarType Type() const;
    bool IsEmpty() const { return m_Payload.index() == 0; }
    bool IsNull() const { return std::holds_alternative<Null>(m_Payload); }
    bool IsObject() const { return std::holds_alternative<ObjectRef>(m_Payload); }
    bool IsArray() const { return std::holds_alternative<SafeArrayRef>(m_Payload); }

    /// The payload when the value has exactly that type, else null.
    template <typename T>
    const T* GetIf() const
    {
        return std::get_if<T>(&m_Payload);
    }
    /// The payload. Throws ValueError "Type mismatch" when the value has another type.
    template <typename T>
    const T& Get() const
    {
        const T* payload = GetIf<T>();
        if (!payload) ThrowTypeMismatch();
        return *payload;
    }
    /// The array. Throws ValueError "Type mismatch" when the value is not an array.
    const SafeArray& Array() const { return *Get<SafeArrayRef>(); }
    const Payload& Data() const { return m_Payload; }

    /// Same type and same payload to the last bit; objects are equal when they are the same object.
    bool operator==(const Variant& other) const;

private:
    [[noreturn]] static void ThrowTypeMismatch();

    Payload m_Payload;
};
