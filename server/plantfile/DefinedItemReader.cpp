#include "server/plantfile/DefinedItemReader.h"

#include "server/definition/DefinedItems.h"
#include "server/plantfile/DefinitionToml.h"

void ReadDefinedItems(std::vector<FileTable>& controllerTables, Plant& plant)
{
    QList<DefinedItem> items;
    std::vector<FileTable> tables;
    for (FileTable& controllerTable : controllerTables) {
        const QString controller = controllerTable.Text("name");
        for (FileTable& table : controllerTable.Tables("item")) {
            if (!table.Has("definition")) continue;
            if (!plant.Find(controller)) continue; // it has no name, which has been noted
            items.append({controller, DefinitionFromToml(table.Values("definition")), {}});
            table.RefuseOthers();
            tables.push_back(std::move(table));
        }
    }
    for (const DefinedItem& refused : AddDefinedItems(plant, items)) {
        for (qsizetype i = 0; i < items.size(); ++i) {
            const bool isRefused =
                items[i].Controller == refused.Controller && items[i].Definition == refused.Definition;
            if (isRefused) tables[static_cast<std::size_t>(i)].Refuse("definition", refused.Objection);
        }
    }
}
