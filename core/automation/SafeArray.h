#pragma once

#include "core/automation/Variant.h"

#include <QList>

/// How deep arrays may be nested, the outermost included. Texts and the wire refuse more.
inline constexpr int MaxArrayDepth = 16;

/// A one-dimensional automation array: a block of elements of its own type, and a lower bound.
class SafeArray
{
public:
    using Elements = std::variant<QList<bool>, QList<qint8>, QList<quint8>, QList<qint16>, QList<quint16>,
                                  QList<qint32>, QList<quint32>, QList<float>, QList<double>, QList<Currency>,
                                  QList<Date>, QList<QString>, QList<ObjectRef>, QList<Variant>>;

    /// At most 2^31 - 1 elements with an upper bound within 32 bits; otherwise throws ValueError "Overflow".
    template <typename T>
    explicit SafeArray(QList<T> elements, qint32 lowerBound = 0)
        : SafeArray(Elements(std::move(elements)), lowerBound)
    {
    }
    explicit SafeArray(Elements elements, qint32 lowerBound = 0);

    VarType ElementType() const;
    qsizetype Count() const;
    qint32 LowerBound() const { return m_LowerBound; }
    /// One less than the lower bound when the array is empty.
    qint32 UpperBound() const;

    /// The element `offset` places after the lower bound, as a value of its own. Throws ValueError "Subscript out of
    /// range".
    Variant At(qsizetype offset) const;
    /// The whole block. Throws ValueError "Type mismatch" when the elements have another type.
    template <typename T>
    const QList<T>& Of() const
    {
        const auto* elements = std::get_if<QList<T>>(&m_Elements);
        if (!elements) ThrowTypeMismatch();
        return *elements;
    }
    const Elements& Data() const { return m_Elements; }

    bool operator==(const SafeArray& other) const;

private:
    [[noreturn]] static void ThrowTypeMismatch();

    Elements m_Elements;
    qint32 m_LowerBound;
};
