// A file of tags, of a plant that has some items already. Each row is an item, and more than one only with a range.
#include "server/plantfile/CsvReader.h"
#include "tests/fuzz/FuzzPlant.h"

namespace {

/// Around a file of tags.
QByteArray PlantOf(const QString& device, const QString& tags)
{
    return QStringLiteral(R"(
[[device]]
name = "Boiler"
protocol = "modbus-tcp"
host = "127.0.0.1"

[[controller]]
name = "Tags"
device = "%1"
item = [ { name = "Counts", type = "ARRAY|I4" } ]
tags = "%2"
)")
        .arg(device, tags)
        .toUtf8();
}

qint64 RowsIn(const QByteArray& text)
{
    CsvReader reader(text);
    std::vector<std::string> cells;
    qint64 rows = -1; // the first one names the columns
    while (reader.Next(cells)) ++rows;
    return rows;
}

void Read(const InputFile& plantFile, const QByteArray& text)
{
    FuzzPlant plant;
    try {
        plant.Read(plantFile.Path());
    } catch (const PlantFileError& error) {
        Require(!error.Description().isEmpty());
        return;
    }
    plant.LookAtAll();
    if (plant.IsWhole() && !text.contains('{') && !text.contains("definition")) // which may come twice
        Require(plant.ItemCount() == 1 + RowsIn(text));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static const InputFile tags;
    static const InputFile withDevice(PlantOf(QStringLiteral("Boiler"), tags.Path()));
    static const InputFile without(PlantOf({}, tags.Path()));
    const QByteArray text = BytesOf(bytes, size);
    tags.Set(text);
    // Items of a device are no use where there is none.
    Read(text.contains("variable") ? withDevice : without, text);
    return 0;
}
