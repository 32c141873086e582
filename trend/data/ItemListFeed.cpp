#include "trend/data/ItemListFeed.h"

#include "core/automation/SafeArray.h"

namespace {

QStringList NamesIn(const Variant& names)
{
    return names.IsArray() ? names.Array().Of<QString>() : QStringList();
}

} // namespace

void ItemListFeed::List()
{
    try {
        const auto library = m_Make();
        const EngineRef engine = library->AttachEngine();
        for (const QString& controller : NamesIn(engine->get_ControllerNames())) {
            QStringList items = NamesIn(engine->get_Controller(Variant(controller))->get_ItemNames());
            for (QString& item : items) item = controller + u'\\' + item;
            Q_EMIT Listed(items);
        }
        Q_EMIT Finished({});
    } catch (...) {
        Q_EMIT Finished(CurrentErrorDescription());
    }
}
