#pragma once

#include "mainwindow/ObjectWindows.h"

class MainWindow;

/// The commands on the server's objects as the tree's pop-ups list them; menu bar and toolbar share some. A command
/// throws what the server throws, and the code that connects the command reports it.
class ObjectCommands
{
public:
    ObjectCommands(MainWindow& mainWindow, ObjectWindows windows);

    /// The Show command of a node's kind; does nothing without a node or when the node has left the tree. Takes its own
    /// reference because the current node may change meanwhile.
    void Show(TreeNodeRef node);
    /// The same for the current node, when it is of one of these kinds.
    void ShowCurrent(std::initializer_list<NodeTag> tags);
    void AddItem();
    void BatchWrite();
    void SnapshotItem();
    /// Removes the current item from its controller and from the tree, once the operator has confirmed.
    void RemoveItem();
    /// Opens the script tool; the first time, gives it the engine's name and shows how to address items.
    void ShowScriptTool();
    /// Starts the trend program, with the current item if there is one.
    void ShowTrend();

private:
    /// The current node when it is in the tree and of one of these kinds, else null.
    TreeNodeRef CurrentNode(std::initializer_list<NodeTag> tags) const;

    MainWindow& m_MainWindow;
    ObjectWindows m_Windows;
};
