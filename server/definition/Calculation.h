#pragma once

#include "core/automation/ItemDefinition.h"
#include "core/automation/Variant.h"

class PlantController;

/// Applies an operator. Whole numbers give I4 when the result fits, other numbers R8, comparisons BOOL, logical
/// operators BOOL for two booleans and I4 otherwise. Throws ValueError, also for a division by zero. `operand` is
/// ignored when the operator takes none.
Variant Calculate(Operator operation, const Variant& value, const Variant& operand);

/// One of an item's two calculations.
class Calculation
{
public:
    Calculation() = default;
    /// `operand` names an item, "[<controller>\]<item>", or is itself a number.
    Calculation(Operator operation, QString operand);

    /// Throws DescribedError.
    Variant Apply(const Variant& value, const PlantController& controller) const;
    /// The name of the item that is the operand; empty when there is none.
    QString OperandName() const { return NeedsOperand(m_Operator) ? m_Operand : QString(); }

private:
    Variant Operand(const PlantController& controller) const;

    Operator m_Operator = Operator::Nop;
    QString m_Operand;
};
