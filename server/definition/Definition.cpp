#include "server/definition/Definition.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "core/automation/SafeArray.h"
#include "velsqllib/TypeCode.h"

#include <cmath>

namespace {

void CheckForm(Element element, const Variant& value)
{
    const ElementKind& kind = KindOf(element);
    if (value.Type() != kind.Form)
        Definition::Refuse(element,
                           QStringLiteral("it must be %1, not %2").arg(TypeName(kind.Form), TypeName(value.Type())));
    if (kind.Form != VT_I2) return;
    const int choice = value.Get<qint16>();
    if (choice < 0) Definition::Refuse(element, QStringLiteral("nothing is selected"));
    const auto count = static_cast<int>(kind.Choices.size());
    if (choice >= count)
        Definition::Refuse(element, QStringLiteral("the choices are 0 to %1, not %2").arg(count - 1).arg(choice));
}

} // namespace

Definition::Definition(const Variant& definition)
{
    if (definition.Type() != ArrayOf(VT_VARIANT) || definition.Array().Count() != std::ssize(Elements))
        throw ServerError(QStringLiteral("An item definition is an array of %1 variants.").arg(Elements.size()));
    m_Elements = definition.Array().Of<Variant>();
    for (const ElementKind& kind : Elements) CheckForm(kind.Place, Sent(kind.Place));
}

const QString& Definition::Text(Element element) const
{
    return Sent(element).Get<QString>();
}

bool Definition::Flag(Element element) const
{
    return Sent(element).Get<bool>();
}

std::size_t Definition::Position(Element element) const
{
    return static_cast<std::size_t>(Sent(element).Get<qint16>());
}

double Definition::Number(Element element) const
{
    const auto number = ParseNumber(Text(element));
    if (!number || !std::isfinite(*number))
        Refuse(element, QStringLiteral("\"%1\" is not a number").arg(Text(element)));
    return *number;
}

qint32 Definition::Integer(Element element) const
{
    try {
        return RoundToInt32(Number(element));
    } catch (const ValueError&) {
        Refuse(element, QStringLiteral("%1 is beyond 32 bits").arg(Text(element)));
    }
}

void Definition::Refuse(Element element, const QString& reason)
{
    throw ServerError(
        QStringLiteral("Element %1 (%2): %3.").arg(static_cast<int>(element)).arg(KindOf(element).Name, reason));
}
