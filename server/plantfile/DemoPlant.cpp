#include "server/plantfile/DemoPlant.h"

#include "core/automation/SafeArray.h"
#include "server/plant/DemoPicture.h"
#include "server/plantfile/PlantFile.h"

#include <QFile>

/// A static library brings its resources in only when asked, and not from inside a namespace.
static void InitDemoPlant()
{
    Q_INIT_RESOURCE(demo_plant);
}

namespace {

const QString s_Path = QStringLiteral(":/plantfile/demo-plant.toml");

} // namespace

void BuildDemoPlant(Plant& plant)
{
    InitDemoPlant();
    ReadPlantFile(s_Path, plant);
    // What a plant file cannot say.
    const PlantControllerRef process = plant.Controller(QStringLiteral("PLC1"));
    const PlantControllerRef lab = plant.Controller(QStringLiteral("R&D Nürnberg"));
    process->Item(QStringLiteral("Picture"))->PutValue(SafeArray(DrawDemoPicture()));
    lab->Item(QStringLiteral("Nothing"))->PutValue(Null{});
    lab->Item(QStringLiteral("Reference"))->PutValue(ObjectRef(process->Item(QStringLiteral("D100"))));
}

QByteArray DemoPlantToml()
{
    InitDemoPlant();
    QFile file(s_Path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
