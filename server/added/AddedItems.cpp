#include "server/added/AddedItems.h"

#include "core/automation/Errors.h"
#include "server/log/Log.h"

namespace {

DefinedItem Described(const PlantItemRef& item)
{
    return {item->Controller()->Name(), item->Traits().Definition};
}

bool IsOf(const DefinedItem& item, const PlantController& controller, const QString& name)
{
    return item.Controller == controller.Name() && item.Name() == name;
}

} // namespace

AddedItems::AddedItems(Plant& plant)
    : m_Plant(plant)
{
}

void AddedItems::Keep(const QString& plantPath)
{
    m_File.emplace(AddedItemsFile::PathFor(plantPath),
                   QStringLiteral("Items that operators have added to the plant of %1; velsqlserver writes this file.")
                       .arg(QString(plantPath).simplified()));
    try {
        AddKept();
    } catch (...) {
        Log(LogLevel::Error,
            QStringLiteral(
                "The added items are missing, and further ones are not kept, until the server starts again: ") +
                CurrentErrorDescription());
        m_File.reset(); // what stands there is not to be replaced
    }
}

void AddedItems::AddKept()
{
    const QList<DefinedItem> kept = m_File->Read();
    if (m_File->UnreadableCount() > 0)
        Log(LogLevel::Warning,
            QStringLiteral("%1 of the added items in %2 cannot be read; they stay there as they are.")
                .arg(m_File->UnreadableCount())
                .arg(m_File->Path()));
    QList<DefinedItem> wanted;
    for (const DefinedItem& item : kept) (IsKept(item.Controller) ? wanted : m_Aside).append(item);
    const QList<DefinedItem> refused =
        AddDefinedItems(m_Plant, wanted, [this](const auto& item) { m_Items.append(item); });
    LogRefused(refused, m_File->Path());
    m_Aside += refused;
    if (!kept.isEmpty()) Store([this] { m_File->Write(ItemsToKeep()); });
}

void AddedItems::TakeOver(const QString& path)
{
    try {
        const QList<DefinedItem> items = AddedItemsFile(path, {}).Read();
        LogRefused(AddDefinedItems(m_Plant, items, [this](const auto& item) { m_Items.append(item); }), {});
        QFile::remove(path);
    } catch (const DescribedError& error) {
        Log(LogLevel::Error, QStringLiteral("The former server's added items are missing: ") + error.Description());
    }
    if (m_File) Store([this] { m_File->Write(ItemsToKeep()); });
}

void AddedItems::HandOver(const QString& path) const
{
    QList<DefinedItem> items;
    for (const PlantItemRef& item : m_Items) items.append(Described(item));
    try {
        AddedItemsFile(path, QStringLiteral("Added items on their way from one server to the next.")).Write(items);
    } catch (const DescribedError& error) {
        Log(LogLevel::Error, error.Description());
    }
}

void AddedItems::StoreAgain()
{
    if (!m_File || m_LastFailure.isEmpty()) return;
    Store([] {});
    if (m_LastFailure.isEmpty()) Log(LogLevel::Info, QStringLiteral("Added items are kept again."));
}

void AddedItems::AddItem(PlantController& controller, const Variant& definition)
{
    m_Maker.AddItem(controller, definition);
    const DefinedItem added = {controller.Name(), definition};
    m_Items.append(controller.Item(added.Name()));
    if (!m_File || !IsKept(added.Controller)) return;
    const qsizetype replaced = m_Aside.removeIf([&](const auto& item) { return IsOf(item, controller, added.Name()); });
    Store([&] { replaced > 0 ? m_File->Write(ItemsToKeep()) : m_File->Append(added); });
}

void AddedItems::RemoveItem(PlantController& controller, const QString& name)
{
    const PlantItemRef item = controller.Item(name);
    controller.Remove(name);
    const bool wasAdded = m_Items.removeOne(item);
    if (wasAdded && m_File && IsKept(controller.Name())) Store([this] { m_File->Write(ItemsToKeep()); });
}

/// Items of a controller that the plant no longer has are kept, too: it may come back.
bool AddedItems::IsKept(const QString& controller) const
{
    const PlantControllerRef found = m_Plant.Find(controller);
    return !found || found->Traits().KeepsAddedItems;
}

void AddedItems::LogRefused(const QList<DefinedItem>& refused, const QString& file) const
{
    for (const DefinedItem& item : refused)
        Log(LogLevel::Warning,
            QStringLiteral("The added item \"%1\" of controller \"%2\" does not fit any more%3: %4")
                .arg(item.Name(), item.Controller,
                     file.isEmpty() ? QString() : QStringLiteral(" and stays aside in ") + file, item.Objection));
}

/// A failure is logged once for its reason and does not fail the call that added the item. After one everything is
/// written anew.
void AddedItems::Store(const std::function<void()>& write)
{
    QString failure;
    try {
        m_LastFailure.isEmpty() ? write() : m_File->Write(ItemsToKeep());
    } catch (...) {
        failure = CurrentErrorDescription();
    }
    if (!failure.isEmpty() && failure != m_LastFailure)
        Log(LogLevel::Error, QStringLiteral("Added items are not kept: %1").arg(failure));
    m_LastFailure = failure;
}

QList<DefinedItem> AddedItems::ItemsToKeep() const
{
    QList<DefinedItem> items = m_Aside;
    for (const PlantItemRef& item : m_Items) {
        if (IsKept(item->Controller()->Name())) items.append(Described(item));
    }
    return items;
}
