#pragma once

#include "core/TreeNode.h"

class QIcon;
class QStatusBar;
class StatusPanel;

/// The three panels of the status bar: progress words, the current node, the number of its children.
class StatusPanels
{
public:
    explicit StatusPanels(QStatusBar* stbrMain);

    void SetStatus(const QString& text);
    /// Paints the progress word now.
    void PaintStatus();
    void ShowNode(const TreeNodeRef& node, const QIcon& image);

private:
    StatusPanel* m_Status;
    StatusPanel* m_Object;
    StatusPanel* m_Count;
};
