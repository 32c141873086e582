#include "perfcheck/ResultList.h"

#include "core/OneLineDelegate.h"

#include <QHeaderView>

#include <algorithm>

ResultList::ResultList(QWidget* parent)
    : QTreeWidget(parent)
{
    setHeaderLabels({tr("Action"), tr("Time"), tr("Time Required (ms)"), tr("Value")});
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setItemDelegate(new OneLineDelegate(this));
    const int character = fontMetrics().averageCharWidth();
    header()->resizeSection(
        0, std::max(20 * character, fontMetrics().horizontalAdvance(tr("ERROR OCCURED!")) + 3 * character));
    header()->resizeSection(1, fontMetrics().horizontalAdvance(QStringLiteral("00/00 00:00:00.000")) + 3 * character);
    header()->resizeSection(2, fontMetrics().horizontalAdvance(tr("Time Required (ms)")) + 4 * character);
}

void ResultList::AddRow(const QString& action, const QString& time, const QString& timeRequired, const QString& value)
{
    auto* row = new QTreeWidgetItem(this, {action, time, timeRequired, value});
    row->setToolTip(3, ToolTipHtml(value));
    scrollToItem(row);
}

QSize ResultList::sizeHint() const
{
    const int columns = header()->sectionPosition(3) + 30 * fontMetrics().averageCharWidth();
    const int rows = header()->sizeHint().height() + 20 * fontMetrics().height();
    return QSize(columns, rows).grownBy(QMargins() + frameWidth());
}
