#include "history/StatementList.h"

#include "core/OneLineDelegate.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QToolTip>

StatementList::StatementList(QWidget* parent)
    : ListBox(parent)
{
    setItemDelegate(new OneLineDelegate(this));
    setSizeAdjustPolicy(AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(16);
    view()->setTextElideMode(Qt::ElideRight);
    setContextMenuPolicy(Qt::ActionsContextMenu);
}

bool StatementList::IsStatementSelected() const
{
    return ListIndex() >= 0 && ItemData(ListIndex()) != Separator;
}

void StatementList::Remember(const QString& statement)
{
    for (int i = 0; i < ListCount(); ++i) {
        if (List(i).compare(statement, Qt::CaseInsensitive) == 0) return;
    }
    AddItem(statement);
}

void StatementList::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) Q_EMIT Entered();
    else ListBox::keyPressEvent(event);
}

bool StatementList::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip) return ListBox::event(event);
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), ToolTipHtml(toolTip()), this);
    return true;
}

void StatementList::initStyleOption(QStyleOptionComboBox* option) const
{
    ListBox::initStyleOption(option);
    option->currentText = OneLine(option->currentText);
}
