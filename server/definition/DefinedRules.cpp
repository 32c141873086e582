#include "server/definition/DefinedRules.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/VariantCompare.h"
#include "server/plant/Convert.h"
#include "server/plant/Plant.h"

namespace {

Calculation CalculationOf(const Definition& definition, const PlantController& controller, Element choice,
                          Element operand)
{
    const auto operation = definition.Meaning(choice, OperatorList);
    const QString& text = definition.Text(operand);
    const bool exists = controller.Owner().Resolve(controller, text) || IsNumeric(text);
    if (NeedsOperand(operation) && !exists)
        Definition::Refuse(operand, text.isEmpty() ? QStringLiteral("the operator needs an operand")
                                                   : QStringLiteral("the item \"%1\" does not exist").arg(text));
    return Calculation(operation, text);
}

VarType RequestedType(const Definition& definition, Element flag, Element type)
{
    return definition.Flag(flag) ? definition.Type(type) : VT_VARIANT;
}

double NotNegative(const Definition& definition, Element element)
{
    const double number = definition.Number(element);
    if (number < 0.0) Definition::Refuse(element, QStringLiteral("%1 is negative").arg(definition.Text(element)));
    return number;
}

quint32 BitsOf(const Variant& value)
{
    const double number = ToNumber(ConvertTo(value, VT_R8));
    // Negative 32-bit numbers stand for their bits.
    return ConvertTo(number < 0 ? number + 4294967296.0 : number, VT_UI4).Get<quint32>();
}

} // namespace

std::unique_ptr<ValueRules> DefinedRules::Make(const Definition& definition, const PlantController& controller)
{
    std::unique_ptr<DefinedRules> rules(new DefinedRules(definition, controller));
    return rules->IsNeeded() ? std::move(rules) : nullptr;
}

DefinedRules::DefinedRules(const Definition& definition, const PlantController& controller)
    : m_Bcd(definition.Flag(Element::Bcd))
    , m_First(CalculationOf(definition, controller, Element::Calculation, Element::Operand))
    , m_Second(CalculationOf(definition, controller, Element::Calculation2, Element::Operand2))
    , m_Calculates(definition.Meaning(Element::Calculation, OperatorList) != Operator::Nop ||
                   definition.Meaning(Element::Calculation2, OperatorList) != Operator::Nop)
    , m_ReadType(RequestedType(definition, Element::RequestRead, Element::ReadType))
    , m_WriteType(RequestedType(definition, Element::RequestWrite, Element::WriteType))
{
    if (definition.Flag(Element::Masking)) m_Mask = definition.Integer(Element::Mask);
    if (definition.Flag(Element::MinMax))
        m_MinMax = Limits{definition.Number(Element::Min), definition.Number(Element::Max)};
    if (m_MinMax && m_MinMax->Low > m_MinMax->High)
        Definition::Refuse(Element::Max, QStringLiteral("it is less than the minimum"));
    if (definition.Flag(Element::Deadband))
        m_Deadband =
            Limits{NotNegative(definition, Element::DeadbandMin), NotNegative(definition, Element::DeadbandMax)};
    if (definition.Flag(Element::Chattering)) {
        NotNegative(definition, Element::ChatteringMax);
        m_Chattering = definition.Integer(Element::ChatteringMax);
    }
}

std::optional<Variant> DefinedRules::Read(const Variant& value, const Variant& before,
                                          const PlantController& controller)
{
    const Variant converted = value.IsEmpty() ? value : Converted(value, controller);
    if (!Passes(converted, before)) return std::nullopt;
    return converted;
}

Variant DefinedRules::Written(const Variant& value)
{
    const Variant requested = ConvertTo(value, m_WriteType);
    if (!m_Bcd) return requested;
    return static_cast<qint32>(ToBcd(ConvertTo(requested, VT_UI4).Get<quint32>()));
}

QStringList DefinedRules::Operands() const
{
    QStringList names = {m_First.OperandName(), m_Second.OperandName()};
    names.removeAll(QString());
    return names;
}

bool DefinedRules::IsNeeded() const
{
    return m_Mask || m_Bcd || m_Calculates || m_ReadType != VT_VARIANT || m_WriteType != VT_VARIANT || m_MinMax ||
           m_Deadband || m_Chattering > 1;
}

Variant DefinedRules::Converted(const Variant& value, const PlantController& controller) const
{
    Variant result = value;
    if (m_Mask) result = static_cast<qint32>(BitsOf(result) & static_cast<quint32>(*m_Mask));
    if (m_Bcd) result = static_cast<qint32>(FromBcd(BitsOf(result)));
    result = m_First.Apply(result, controller);
    result = m_Second.Apply(result, controller);
    return ConvertTo(result, m_ReadType);
}

bool DefinedRules::Passes(const Variant& value, const Variant& before)
{
    // The deadband needs a previous value that is a number.
    const auto held = m_Deadband && !before.IsEmpty() ? NumberOf(before) : std::nullopt;
    if (m_MinMax || held) {
        const double number = ToNumber(value);
        if (m_MinMax && (number < m_MinMax->Low || number > m_MinMax->High)) return false;
        if (held && number > *held - m_Deadband->Low && number < *held + m_Deadband->High) return false;
    }
    return m_Chattering <= 1 || HasSettled(value, before);
}

bool DefinedRules::HasSettled(const Variant& value, const Variant& before)
{
    m_Repeats = m_Repeats > 0 && SameValue(value, m_Candidate) ? m_Repeats + 1 : 1;
    m_Candidate = value;
    return m_Repeats >= m_Chattering || before.IsEmpty() || SameValue(value, before);
}

quint32 FromBcd(quint32 bits)
{
    quint32 number = 0;
    for (int shift = 28; shift >= 0; shift -= 4) {
        const quint32 digit = (bits >> shift) & 0xF;
        if (digit > 9) throw ValueError(QStringLiteral("%1 is not BCD").arg(bits));
        number = number * 10 + digit;
    }
    return number;
}

quint32 ToBcd(quint32 number)
{
    constexpr quint32 Most = 99'999'999;
    if (number > Most) throw ValueError(QStringLiteral("%1 has more than the 8 digits of BCD").arg(number));
    quint32 bits = 0;
    for (int shift = 0; number > 0; shift += 4, number /= 10) bits |= (number % 10) << shift;
    return bits;
}
