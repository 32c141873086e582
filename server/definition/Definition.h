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
    int Choice(Element element) const;
    /// The value type that a choice stands for.
    VarType Type(Element element) const;
    /// The number in a text that holds nothing else. Throws ServerError.
    double Number(Element element) const;
    qint32 Integer(Element element) const;
    /// The element as it was sent, whatever its form.
    const Variant& Sent(Element element) const { return m_Elements.at(static_cast<qsizetype>(element)); }

    /// "Element 17 (Deadband minimum): ...".
    [[noreturn]] static void Refuse(Element element, const QString& reason);

private:
    QList<Variant> m_Elements;
};
