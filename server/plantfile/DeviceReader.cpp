#include "server/plantfile/DeviceReader.h"

#include "server/protocols/Protocols.h"

#include <cmath>

namespace {

/// A table of the plant file as sources see it.
class DeviceTable : public SourceSettings
{
public:
    DeviceTable(FileTable& table, QString folder)
        : m_Table(table)
        , m_Folder(std::move(folder))
    {
    }

    QString Folder() const override { return m_Folder; }
    bool Has(const char* key) const override { return m_Table.Has(key); }
    void Refuse(const char* key, const QString& what) override { m_Table.Refuse(key, what); }
    QString Text(const char* key, const QString& fallback) override { return m_Table.Text(key, fallback); }
    QString Name(const char* key) override { return m_Table.Name(key); }
    bool Flag(const char* key, bool fallback) override { return m_Table.Flag(key, fallback); }
    qint32 Integer(const char* key, qint32 lowest, qint32 highest, qint32 fallback) override
    {
        return m_Table.Integer(key, lowest, highest, fallback);
    }
    qint32 Seconds(const char* key, qint32 lowest, qint32 highest, qint32 fallback) override
    {
        const double milliseconds = m_Table.Number(key, fallback / 1000.0) * 1000.0;
        if (milliseconds >= lowest && milliseconds <= highest) return static_cast<qint32>(std::lround(milliseconds));
        Refuse(key, QStringLiteral("it is not within %1 and %2 seconds").arg(lowest / 1000.0).arg(highest / 1000.0));
        return fallback;
    }
    int Choice(const char* key, const QStringList& choices, int fallback) override
    {
        return m_Table.Choice(key, choices, fallback);
    }

private:
    FileTable& m_Table;
    const QString m_Folder;
};

} // namespace

void ReadDevice(FileTable table, Plant& plant, const QString& folder)
{
    const QString name = table.Name("name");
    const bool isTaken = plant.FindSource(name) != nullptr;
    if (isTaken) table.Refuse("name", QStringLiteral("device \"%1\" exists already").arg(name));
    QStringList known;
    for (const Protocol& protocol : Protocols()) known.append(protocol.Name);
    const QString spoken = table.Name("protocol");
    const auto protocol = std::ranges::find(Protocols(), spoken, &Protocol::Name);
    if (protocol == Protocols().end()) { // what else belongs to it cannot be known
        if (!spoken.isEmpty()) table.Choice("protocol", known, 0);
        return;
    }
    DeviceTable settings(table, folder);
    SourceRef source = protocol->Make(name, settings);
    table.RefuseOthers();
    if (source && !isTaken && !name.isEmpty()) plant.AddSource(std::move(source));
}

SourceVariableRef ReadVariable(FileTable& entry, const PlantController& controller, VarType type, bool isKnown)
{
    VariableText text{entry.Text("variable"), entry.Text("option"), type};
    if (!entry.Has("variable")) {
        if (entry.Has("option")) entry.Refuse("option", QStringLiteral("it belongs to a variable"));
        return nullptr;
    }
    if (!isKnown) return nullptr;
    if (!controller.Device()) {
        entry.Refuse("variable", QStringLiteral("the controller has no device"));
        return nullptr;
    }
    try {
        return controller.Device()->Bind(text);
    } catch (const VariableError& error) {
        entry.Refuse(error.Which() == VariableError::Part::Option ? "option" : "variable", error.Description());
        return nullptr;
    }
}
