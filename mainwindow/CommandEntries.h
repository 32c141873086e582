#pragma once

#include "core/TreeNode.h"

class QAction;
class QWidget;

/// Cut, Copy and Paste of one menu, pop-up or bar.
struct EditEntries
{
    QAction* Cut;
    QAction* Copy;
    QAction* Paste;

    /// Enables what is possible with a text box; nothing without one.
    void EnableFor(const QWidget* editBox) const;
};

/// Show and Remove of one menu or bar.
struct ObjectEntries
{
    QAction* Show;
    QAction* Remove;

    void EnableFor(const TreeNodeRef& currentNode) const;
};
