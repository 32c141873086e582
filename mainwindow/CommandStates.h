#pragma once

#include "core/TreeNode.h"

#include <array>

class QAction;
class QWidget;

/// Which of the commands that menu bar and toolbar share are possible now.
struct CommandStates
{
    bool Show = false;
    bool Remove = false;
    bool Cut = false;
    bool Copy = false;
    bool Paste = false;

    static CommandStates Of(const TreeNodeRef& currentNode, const QWidget* activeEditBox);

    /// Enables the five commands, in the order of the members.
    void ApplyTo(const std::array<QAction*, 5>& actions) const;
};
