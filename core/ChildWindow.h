#pragma once

#include "core/TreeNode.h"

#include <QPointer>
#include <QWidget>

class QMdiSubWindow;

/// The base of all windows inside the main window: belongs to a tree node, is loaded once, shown and hidden often, and
/// unloaded by its frame, by "Close All" or by its own command.
class ChildWindow : public QWidget
{
    Q_OBJECT

public:
    ChildWindow();
    ~ChildWindow() override;

    /// The node that the window belongs to; may be none.
    TreeNodeRef m_TreeNode;

    /// Brings the window up: visible, in front, active.
    virtual void ShowForm();
    /// Makes the window invisible, its frame included; it stays loaded.
    virtual void HideForm();
    /// Closes the window for good. Safe inside its own event procedures: it is deleted when control is back in the event loop,
    /// but from now on it is hidden, out of Forms() and without frame.
    void Unload();
    bool IsUnloading() const { return m_Unloading; }

    /// All child windows that are loaded, in opening order.
    static const QList<ChildWindow*>& Forms();

    /// Creates the window for a node, loads it and puts it, hidden, into the main window's child area. Null when it does not want to
    /// be loaded (Load returned false). Throws what Load throws. Either way nothing half-loaded stays.
    template <typename Form>
    static Form* Open(const TreeNodeRef& node)
    {
        auto* form = new Form;
        return static_cast<Form*>(LoadAndHost(form, node));
    }

protected:
    /// Runs once, when `m_TreeNode` is set. False: the window is to go silently.
    virtual bool Load() { return true; }
    /// Runs once before the window goes; must not throw. Release the server's objects here.
    virtual void FormUnload() {}
    /// Whether the operator may close the window by its frame now.
    virtual bool MayClose() const { return true; }

    void closeEvent(QCloseEvent* event) override;

private:
    static ChildWindow* LoadAndHost(ChildWindow* form, const TreeNodeRef& node);

    bool m_Loaded = false;
    bool m_Unloading = false;
    QPointer<QMdiSubWindow> m_Frame;
};
