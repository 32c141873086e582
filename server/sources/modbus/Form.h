#pragma once

#include "server/sources/SourceVariable.h"

#include <span>
#include <vector>

/// The four tables of a Modbus unit.
enum class Area : quint8
{
    Coil,
    Discrete,
    Input,
    Holding
};

constexpr bool IsBits(Area area)
{
    return area == Area::Coil || area == Area::Discrete;
}

/// What an element of a variable is in the unit's registers.
enum class Coding : quint8
{
    Bool,
    I2,
    UI2,
    I4,
    UI4,
    I8,
    UI8,
    R4,
    R8,
    Bcd4, ///< four digits in a register
    Bcd8, ///< eight in two
    Text
};

/// Which of two functions writes a variable.
enum class WriteBy : quint8
{
    Fitting, ///< a single register or bit as one, others as a block
    Single,
    Block
};

/// How the registers of an element follow each other, and the bytes in each: ABCD, CDAB, BADC or DCBA.
struct Order
{
    bool SwapsWords = false;
    bool SwapsBytes = false;
    bool operator==(const Order&) const = default;
};

/// Where a variable lies in its unit and how its registers are a value. Registers of coils and discrete inputs are
/// bits, 0 or 1.
struct Form
{
    Area Place = Area::Holding;
    Coding Element = Coding::UI2;
    Order Bytes = {};
    WriteBy Writing = WriteBy::Fitting;
    qint8 Bit = -1; ///< 0 to 15 for a bit of a register
    bool IsArray = false;
    VarType Type = VT_VARIANT; ///< of the item, without the array bit
    quint16 First = 0;         ///< from 0, whatever the unit's first address is
    qint32 Count = 1;          ///< registers, 1 to 65536
    double Scale = 1.0;        ///< value = number * scale + offset
    double Offset = 0.0;

    /// Registers of one element, which are never read apart.
    int ElementSize() const;
    /// Of a bit in its register, as the register goes over the wire.
    quint16 BitMask() const;
    bool operator==(const Form&) const = default;
};

/// Reads "holding:40", "input:100-119", "holding:7.3" and an option such as "R4 CDAB scale=0.1". `firstAddress` is the
/// number of the first register in such texts, `usual` the order where the option has none. Throws VariableError.
Form ParseForm(const VariableText& text, int firstAddress, Order usual);

/// "holding:40" or "holding:40-43".
QString PlaceText(const Form& form, int firstAddress);

/// The value of `Count` registers. Throws ValueError for what has none, such as registers that are not BCD.
Variant Decode(const Form& form, std::span<const quint16> registers);

/// The registers of a value: as many as the variable has, for a bit one that is 0 or 1. Throws ValueError for a value
/// that does not fit.
std::vector<quint16> Encode(const Form& form, const Variant& value);
