#include "mainwindow/CommandEntries.h"

#include "core/modFields.h"

#include <QAction>

void EditEntries::EnableFor(const QWidget* editBox) const
{
    const bool canCopy = editBox && modMain::HasSelection(editBox);
    const bool canPaste = editBox && !modMain::IsReadOnly(editBox); // whatever the clipboard holds
    Cut->setEnabled(canCopy && canPaste);
    Copy->setEnabled(canCopy);
    Paste->setEnabled(canPaste);
}

void ObjectEntries::EnableFor(const TreeNodeRef& currentNode) const
{
    Show->setEnabled(bool(currentNode));
    Remove->setEnabled(currentNode && currentNode->Tag() == NodeTag::AddItem);
}
