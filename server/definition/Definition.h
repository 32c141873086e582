#pragma once

#include "core/automation/ItemDefinition.h"
#include "core/automation/Variant.h"

#include <QList>

/// An item definition as a client has sent it, after a check of each element's form.
class Definition
{
public:
    /// Checks the form of all elements: texts, flags (booleans) and choices (16-bit positions in their list). Throws
    /// ServerError that names the element.
    explicit Definition(const Variant& definition);

    const QString& Text(Element element) const;
    bool Flag(Element element) const;
    /// What the choice means; `list` is that of the element.
    template <typename T, std::size_t Count>
    T Meaning(Element element, const std::array<Choice<T>, Count>& list) const
    {
        return list[Position(element)].Means;
    }
    VarType Type(Element element) const { return Meaning(element, TypeList); }
    /// The number in a text that holds nothing else. Throws ServerError.
    double Number(Element element) const;
    qint32 Integer(Element element) const;
    /// The element as it was sent, whatever its form.
    const Variant& Sent(Element element) const { return m_Elements.at(static_cast<qsizetype>(element)); }

    /// "Element 17 (Deadband minimum): ...".
    [[noreturn]] static void Refuse(Element element, const QString& reason);

private:
    std::size_t Position(Element element) const;

    QList<Variant> m_Elements;
};
