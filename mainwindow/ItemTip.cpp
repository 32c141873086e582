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

QString ReadItemTip(const TreeNode& node, VelSQLLib& server)
{
    if ((node.Tag() != NodeTag::Item && node.Tag() != NodeTag::AddItem) || !node.IsInTree()) return {};
    if (!modMain::Engine || !server.IsPrompt()) return {};
    QString description, value;
    const auto read = [&] {
        const ItemRef item = modMain::Engine->get_Controller(node.Parent()->Text())->get_Item(node.Text());
        description = item->get_Description();
        value = ReadableValue(*item);
    };
    const auto take = [&] {
        try {
            read();
        } catch (...) { // the tip shows what there is
        }
    };
    server.TakeSteps({{read, take}}, 0);
    QStringList lines;
    AddLine(lines, u"Description", description);
    AddLine(lines, u"Value", value);
    return lines.join(u'\n');
}
