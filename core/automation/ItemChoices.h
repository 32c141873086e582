#pragma once

#include "core/automation/VarType.h"

#include <QStringView>

#include <array>
#include <span>

/// The lists from which the operator chooses when defining an item. A definition holds positions in these lists, so
/// servers depend on their order.

/// An entry of a list, and what choosing it means.
template <typename Meaning>
struct Choice
{
    QStringView Text;
    Meaning Means;
};

template <typename Meaning, std::size_t Count>
constexpr std::array<QStringView, Count> TextsOf(const std::array<Choice<Meaning>, Count>& list)
{
    std::array<QStringView, Count> texts;
    for (std::size_t i = 0; i < Count; ++i) texts[i] = list[i].Text;
    return texts;
}

template <typename Meaning, std::size_t Count>
constexpr std::array<Meaning, Count> MeaningsOf(const std::array<Choice<Meaning>, Count>& list)
{
    std::array<Meaning, Count> meanings{};
    for (std::size_t i = 0; i < Count; ++i) meanings[i] = list[i].Means;
    return meanings;
}

/// The operators of a calculation, in the order of their list.
enum class Operator : int
{
    Nop,
    Add,
    Subtract,
    Multiply,
    Divide,
    Modulo,
    And,
    Or,
    Xor,
    ShiftLeft,
    ShiftRight,
    Equal,
    NotEqual,
    LessOrEqual,
    Less,
    GreaterOrEqual,
    Greater,
    Concatenate,
    IntegerDivide,
    Imply,
    Power,
    Absolute,
    Fix,
    Integer,
    Negate,
    Not,
    RadiansToDegrees,
    DegreesToRadians,
    Length,
    Left,
    Right
};

/// "+" to "POW", "Left$" and "Right$"; neither "(NOP)" nor "ABS" to "LEN".
constexpr bool NeedsOperand(Operator operation)
{
    return (operation > Operator::Nop && operation <= Operator::Power) || operation >= Operator::Left;
}

inline constexpr std::array<Choice<Operator>, 31> OperatorList = {{
    {u"(NOP)", Operator::Nop},
    {u"+", Operator::Add},
    {u"-", Operator::Subtract},
    {u"*", Operator::Multiply},
    {u"/", Operator::Divide},
    {u"MOD", Operator::Modulo},
    {u"AND", Operator::And},
    {u"OR", Operator::Or},
    {u"XOR", Operator::Xor},
    {u"<<", Operator::ShiftLeft},
    {u">>", Operator::ShiftRight},
    {u"=", Operator::Equal},
    {u"<>", Operator::NotEqual},
    {u"<=", Operator::LessOrEqual},
    {u"<", Operator::Less},
    {u">=", Operator::GreaterOrEqual},
    {u">", Operator::Greater},
    {u"CAT", Operator::Concatenate},
    {u"IDIV", Operator::IntegerDivide},
    {u"IMP", Operator::Imply},
    {u"POW", Operator::Power},
    {u"ABS", Operator::Absolute},
    {u"FIX", Operator::Fix},
    {u"INT", Operator::Integer},
    {u"NEG", Operator::Negate},
    {u"NOT", Operator::Not},
    {u"RAD2DEG", Operator::RadiansToDegrees},
    {u"DEG2RAD", Operator::DegreesToRadians},
    {u"LEN", Operator::Length},
    {u"Left$", Operator::Left},
    {u"Right$", Operator::Right},
}};
inline constexpr auto OperatorChoices = TextsOf(OperatorList);

/// The operator at a position of the list; "(NOP)" when nothing is selected.
constexpr Operator OperatorAt(int position)
{
    return position < 0 ? Operator::Nop : OperatorList[static_cast<std::size_t>(position)].Means;
}

/// An initial value has one of the first 12 types; a requested type may also be VT_VARIANT, which leaves values
/// unchanged.
inline constexpr std::array<Choice<VarType>, 13> TypeList = {{
    {u"VT_BOOL", VT_BOOL},
    {u"VT_I1", VT_I1},
    {u"VT_UI1", VT_UI1},
    {u"VT_I2", VT_I2},
    {u"VT_UI2", VT_UI2},
    {u"VT_I4", VT_I4},
    {u"VT_UI4", VT_UI4},
    {u"VT_R4", VT_R4},
    {u"VT_R8", VT_R8},
    {u"VT_BSTR", VT_BSTR},
    {u"VT_DATE", VT_DATE},
    {u"VT_CY", VT_CY},
    {u"VT_VARIANT", VT_VARIANT},
}};
inline constexpr auto TypeChoices = TextsOf(TypeList);
inline constexpr auto ChoosableTypes = MeaningsOf(TypeList);
inline constexpr std::span<const QStringView> InitialTypeChoices = std::span(TypeChoices).first<12>();

inline constexpr std::array<QStringView, 3> ItemTypeChoices = {u"Normal", u"Alias", u"Array"};
inline constexpr std::array<QStringView, 5> ClassChoices = {u"Controller Class", u"Task Class", u"Robot Class",
                                                            u"Extension Class", u"File Class"};
inline constexpr std::array<QStringView, 3> AttributeChoices = {u"Read / Write", u"Read Only", u"Write Only"};
inline constexpr std::array<QStringView, 3> ForceChoices = {u"n/a", u"Reading", u"Writing"};
/// Two blanks each, on purpose.
inline constexpr std::array<QStringView, 4> PropertyChoices = {u"0:  Value", u"1:  ID", u"2:  Activation",
                                                               u"3:  LinkActivation"};
