// A plant file. Its items are at their places and can be scanned; and with an item that an operator adds, the plant is
// written and read again. Else each line of what is said begins with the file.
#include "core/automation/ItemDefinition.h"
#include "core/automation/SafeArray.h"
#include "server/added/PlantText.h"
#include "server/definition/DefinitionMaker.h"
#include "tests/fuzz/FuzzPlant.h"

namespace {

/// A definition with nothing but a name.
Variant Named(const QString& name)
{
    QList<Variant> elements;
    for (const ElementKind& kind : Elements) {
        if (kind.Form == VT_BSTR) elements.append(kind.Place == Element::Name ? name : QString());
        else if (kind.Form == VT_BOOL) elements.append(false);
        else elements.append(qint16{0});
    }
    return SafeArray(std::move(elements));
}

QStringList NamesIn(const Plant& plant)
{
    QStringList names;
    for (const PlantControllerRef& controller : plant.Controllers()) {
        for (const PlantItemRef& item : controller->Items()) names << controller->Name() + u'\n' + item->Name();
    }
    names.sort(); // added items go to the end of their list, and elsewhere where that is sorted
    return names;
}

void AddAndReadAgain(FuzzPlant& plant, const QByteArray& toml, const InputFile& file)
{
    const QString name = QStringLiteral("Added by an operator");
    if (plant.Controllers().isEmpty()) return;
    PlantController& controller = *plant.Controllers().last();
    if (controller.Find(name)) return;
    DefinitionMaker().AddItem(controller, Named(name));
    file.Set(PlantTextWith(toml, {controller.Item(name)}).toUtf8());
    FuzzPlant again;
    again.Read(file.Path());
    Require(NamesIn(again) == NamesIn(plant));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static const InputFile file;
    const QByteArray toml = BytesOf(bytes, size);
    file.Set(toml);
    FuzzPlant plant;
    try {
        plant.Read(file.Path());
    } catch (const PlantFileError& error) {
        for (const QString& line : error.Description().split(u'\n')) Require(line.startsWith(file.Path() + u':'));
        return 0;
    }
    plant.LookAtAll();
    if (plant.IsWhole()) AddAndReadAgain(plant, toml, file);
    return 0;
}
