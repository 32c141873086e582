#pragma once

#include "core/automation/Variant.h"

#include <QList>

/// The places of an item definition's 41 elements.
enum class Element : int
{
    Name = 0,
    Variable = 1,
    VariableName = 2,
    VariableOption = 3,
    ObjectClass = 4,
    ObjectName = 5,
    Description = 6,
    Attribute = 7,
    LinkItem = 8,
    Initialize = 9,
    InitialValue = 10,
    InitialType = 11,
    UseEmpty = 12,
    UseHistory = 13,
    OnChange = 14,
    Force = 15,
    Deadband = 16,
    DeadbandMin = 17,
    DeadbandMax = 18,
    MinMax = 19,
    Min = 20,
    Max = 21,
    Chattering = 22,
    ChatteringMax = 23,
    Masking = 24,
    Mask = 25,
    Bcd = 26,
    Calculation = 27,
    Operand = 28,
    RequestRead = 29,
    ReadType = 30,
    RequestWrite = 31,
    WriteType = 32,
    CompareArrays = 33,
    ExtractLinking = 34,
    Deactivate = 35,
    ItemType = 36,
    LinkedProperty = 37,
    Calculation2 = 38,
    Operand2 = 39,
    ObjectOption = 40
};

/// An item definition as a client sent it, each element of the form that it must have.
class Definition
{
public:
    static constexpr int Count = 41;

    /// Checks the form of all elements: texts, flags (booleans) and choices (16-bit positions in their list). Throws ServerError
    /// that names the element.
    explicit Definition(const Variant& definition);

    const QString& Text(Element element) const;
    bool Flag(Element element) const;
    int Choice(Element element) const;
    /// The type that a choice among the value types means.
    VarType Type(Element element) const;
    /// The number that a text says; nothing else than a number may stand there. Throws ServerError.
    double Number(Element element) const;
    qint32 Integer(Element element) const;
    /// As it was sent, whatever its form.
    const Variant& Sent(Element element) const { return m_Elements.at(static_cast<qsizetype>(element)); }

    /// "Element 17 (Deadband minimum): ...".
    [[noreturn]] static void Refuse(Element element, const QString& reason);

private:
    QList<Variant> m_Elements;
};
