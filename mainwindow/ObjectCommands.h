#pragma once

#include "mainwindow/MenuEntries.h"
#include "mainwindow/ObjectWindows.h"

class MainWindow;

/// The commands on the tree's current node, as its pop-ups list them; menu bar and toolbar share some. A command may throw what the
/// server throws; whoever connects it reports that.
class ObjectCommands
{
public:
    ObjectCommands(MainWindow& mainWindow, ObjectWindows windows);

    /// The Show command of the current node's kind.
    void Show();
    /// Removes the current item from its controller and from the tree, after the operator has confirmed it.
    void RemoveItem();
    /// Opens the script tool; the first time it learns the engine's name and shows how to address items.
    void ShowScriptTool();

    MenuEntries EngineEntries();
    MenuEntries ControllerEntries();
    MenuEntries ItemEntries();
    MenuEntries HistoryEntries();

private:
    void ShowNode(const TreeNodeRef& node);
    void SnapshotItem();
    void AddItem();
    void BatchWrite();
    /// The current node when it is in the tree and of one of these kinds; else none.
    TreeNodeRef CurrentNode(std::initializer_list<NodeTag> tags) const;

    MainWindow& m_MainWindow;
    ObjectWindows m_Windows;
};
