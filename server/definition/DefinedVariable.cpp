#include "server/definition/DefinedVariable.h"

#include "core/automation/Errors.h"
#include "server/definition/ItemMeanings.h"
#include "server/plant/Plant.h"
#include "server/sources/replay/ReplaySource.h"

#include <QDir>

namespace {

Source& OwnDevice(const PlantController& controller)
{
    if (controller.Device()) return *controller.Device();
    Definition::Refuse(Element::VariableName,
                       QStringLiteral("controller \"%1\" has no device that has variables").arg(controller.Name()));
}

Source& OtherDevice(const Definition& definition, const PlantController& controller)
{
    const QString& name = definition.Text(Element::ObjectName);
    const SourceRef source = controller.Owner().FindSource(name);
    if (!source) Definition::Refuse(Element::ObjectName, QStringLiteral("there is no device \"%1\"").arg(name));
    return *source; // which the plant keeps
}

SourceVariableRef Bind(Source& source, const Definition& definition, const QString& unit = {})
{
    using Part = VariableError::Part;
    try {
        return source.Bind(
            {definition.Text(Element::VariableName), definition.Text(Element::VariableOption), VT_VARIANT, unit});
    } catch (const VariableError& error) {
        const Element element = error.Which() == Part::Name     ? Element::VariableName
                                : error.Which() == Part::Option ? Element::VariableOption
                                                                : Element::ObjectOption;
        Definition::Refuse(element, error.Description());
    }
}

SourceVariableRef BindRecording(const Definition& definition)
{
    const QString& path = definition.Text(Element::ObjectName);
    if (!QDir::isAbsolutePath(path))
        Definition::Refuse(Element::ObjectName, QStringLiteral("\"%1\" is not the full path of a file").arg(path));
    constexpr std::chrono::milliseconds Patience{50}; // the server's loop is waiting
    ReplaySource recording(path, path, Patience);
    return Bind(recording, definition);
}

} // namespace

SourceVariableRef BindDefined(const Definition& definition, const PlantController& controller)
{
    // The dialog sends the flag even when no variable is named.
    const bool isNamed = !definition.Text(Element::VariableName).trimmed().isEmpty();
    if (!definition.Flag(Element::Variable) || !isNamed) return nullptr;
    if (!definition.Text(Element::LinkItem).isEmpty())
        Definition::Refuse(Element::LinkItem, QStringLiteral("an item with a variable takes its values from there"));
    switch (definition.Meaning(Element::ObjectClass, ObjectClasses)) {
    case ObjectClass::Controller: return Bind(OwnDevice(controller), definition);
    case ObjectClass::Extension:
        return Bind(OtherDevice(definition, controller), definition, definition.Text(Element::ObjectOption).trimmed());
    case ObjectClass::File: return BindRecording(definition);
    default: break;
    }
    Definition::Refuse(Element::ObjectClass,
                       QStringLiteral("this server has variables of the controller's device, of other devices "
                                      "(Extension Class) and of recordings (File Class)"));
}
