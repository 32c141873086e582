#pragma once

#include "server/definition/Calculation.h"
#include "server/definition/Definition.h"
#include "server/plant/PlantItem.h"

/// What an item's definition asks to be done with values: conversions, then filters.
class DefinedRules : public ValueRules
{
public:
    /// Null when the definition asks for nothing. Throws ServerError that names the element.
    static std::unique_ptr<ValueRules> Make(const Definition& definition, const PlantController& controller);

    std::optional<Variant> Read(const Variant& value, const Variant& before,
                                const PlantController& controller) override;
    Variant Written(const Variant& value) override;
    QStringList Operands() const override;

private:
    struct Limits
    {
        double Low;
        double High;
    };

    DefinedRules(const Definition& definition, const PlantController& controller);
    bool IsNeeded() const;
    Variant Converted(const Variant& value, const PlantController& controller) const;
    bool Passes(const Variant& value, const Variant& before);
    bool HasSettled(const Variant& value, const Variant& before);

    std::optional<qint32> m_Mask;
    bool m_Bcd;
    Calculation m_First;
    Calculation m_Second;
    bool m_Calculates;
    VarType m_ReadType;
    VarType m_WriteType;
    std::optional<Limits> m_MinMax;
    /// How far below and above the previous value.
    std::optional<Limits> m_Deadband;
    qint32 m_Chattering = 0;
    /// The chattering filter's candidate, and how often it has arrived in a row.
    Variant m_Candidate;
    qint32 m_Repeats = 0;
};

/// 0x1234 becomes 1234. Throws ValueError when a digit is above 9.
quint32 FromBcd(quint32 bits);
/// 1234 becomes 0x1234. Throws ValueError for more than 8 digits.
quint32 ToBcd(quint32 number);
