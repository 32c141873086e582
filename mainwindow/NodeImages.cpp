#include "mainwindow/NodeImages.h"

#include "core/ObjectTreeModel.h"

#include <QIcon>

/// A static library loads its resources only on request, and not from inside a namespace.
static void InitImages()
{
    Q_INIT_RESOURCE(mainwindow);
}

namespace {

constexpr NodeTag AllTags[] = {NodeTag::Engine, NodeTag::Controller, NodeTag::Item, NodeTag::AddItem, NodeTag::History};

} // namespace

void LoadNodeImages(ObjectTreeModel& tree)
{
    InitImages();
    for (const NodeTag tag : AllTags) {
        const QString file = QStringLiteral(":/mainwindow/%1.svg").arg(TagText(tag));
        QIcon image(file);
        // Keeps its own colours on a selected row.
        image.addFile(file, {}, QIcon::Selected);
        tree.SetImage(tag, image);
    }
}
