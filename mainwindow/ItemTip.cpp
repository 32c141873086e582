#include "mainwindow/ItemTip.h"

#include "core/DisplayText.h"
#include "core/modMain.h"
#include "item/ItemRows.h"

#include <QStringList>

namespace {

constexpr qsizetype LineLength = 300;

void AddLine(QStringList& lines, QStringView name, const QString& text)
{
    if (!text.isEmpty()) lines << QStringLiteral("%1: %2").arg(name, OneLine(text, LineLength));
}

} // namespace

QString ReadItemTip(const TreeNode& node, const VelSQLLib& server)
{
    if ((node.Tag() != NodeTag::Item && node.Tag() != NodeTag::AddItem) || !node.IsInTree()) return {};
    QStringList lines;
    try {
        if (!modMain::Engine || !server.IsPrompt()) return {};
        const ControllerRef controller = modMain::Engine->get_Controller(node.Parent()->Text());
        if (!server.IsPrompt()) return {};
        const ItemRef item = controller->get_Item(node.Text());
        if (server.IsPrompt()) AddLine(lines, u"Description", item->get_Description());
        if (server.IsPrompt()) AddLine(lines, u"Value", ReadableValue(*item));
    } catch (...) { // the tip shows what there is
    }
    return lines.join(u'\n');
}
