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
    /// Closes the window for good. Safe inside its own event procedures: from now on it is hidden, out of Forms() and
    /// without frame; FormUnload runs now and the object goes when control is back in the event loop, both no sooner
    /// than its last Hold ends.
    void Unload();
    bool IsUnloading() const { return m_Unloading; }

    /// All child windows that are loading or loaded, in opening order.
    static const QList<ChildWindow*>& Forms();
    /// Unloads them all, hidden ones included.
    static void UnloadAll();

    /// Creates the window for a node, puts it, hidden, into the main window's child area and loads it. Null when it
    /// does not want to be loaded (Load returned false) or was unloaded meanwhile. Throws what Load throws. Either
    /// way nothing half-loaded stays.
    template <typename Form>
    static Form* Open(const TreeNodeRef& node)
    {
        return static_cast<Form*>(HostAndLoad(new Loaded<Form>, node));
    }

    /// Keeps a window whole, its server references included, while a procedure of it lets other events run; ask
    /// IsUnloading afterwards.
    class Hold
    {
    public:
        explicit Hold(ChildWindow* form);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        QPointer<ChildWindow> m_Form;
    };

protected:
    /// Runs once, when `m_TreeNode` is set. False: the window is to go silently.
    virtual bool Load() { return true; }
    /// Runs once before the window goes, also when Load failed; must not throw. Release the server's objects here.
    virtual void FormUnload() {}
    /// Whether the operator may close the window by its frame now.
    virtual bool MayClose() const { return true; }

    void closeEvent(QCloseEvent* event) override;

private:
    /// Unloads while the window is still whole, whoever deletes it.
    template <typename Form>
    class Loaded final : public Form
    {
    public:
        ~Loaded() override { static_cast<ChildWindow*>(this)->RunFormUnload(); }
    };

    static ChildWindow* HostAndLoad(ChildWindow* form, const TreeNodeRef& node);
    void Host();
    void RunFormUnload();
    void Release();

    bool m_Unloading = false;
    bool m_FormUnloadDone = false;
    int m_Holds = 0;
    QPointer<QMdiSubWindow> m_Frame;
};

namespace modMain {

/// The open child window whose node has this key: the first in opening order, windows without a node skipped; or none.
ChildWindow* FindFormByNode(const QString& key);

} // namespace modMain
