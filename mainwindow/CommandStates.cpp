#include "mainwindow/CommandStates.h"

#include "core/modFields.h"

#include <QAction>

CommandStates CommandStates::Of(const TreeNodeRef& currentNode, const QWidget* activeEditBox)
{
    CommandStates states;
    states.Show = bool(currentNode);
    states.Remove = currentNode && currentNode->Tag() == NodeTag::AddItem;
    states.Copy = activeEditBox && modMain::HasSelection(activeEditBox);
    states.Paste = activeEditBox && !modMain::IsReadOnly(activeEditBox); // whatever the clipboard holds
    states.Cut = states.Copy && states.Paste;
    return states;
}

void CommandStates::ApplyTo(const std::array<QAction*, 5>& actions) const
{
    const std::array<bool, 5> enabled{Show, Remove, Cut, Copy, Paste};
    for (std::size_t i = 0; i < actions.size(); ++i) actions[i]->setEnabled(enabled[i]);
}
