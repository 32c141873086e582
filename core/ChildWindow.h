#pragma once

#include "core/TreeNode.h"

#include <QPointer>
#include <QWidget>

class ChildFrame;

/// The base of all windows inside the main window. A child window belongs to a tree node, is loaded once, shown and
/// hidden often, and unloaded by its frame, by "Close All" or by its own command.
class ChildWindow : public QWidget
{
    Q_OBJECT

public:
    ChildWindow();
    ~ChildWindow() override;

    /// The node that the window belongs to; may be null.
    TreeNodeRef m_TreeNode;

    /// Brings the window up: visible, in front, active. The first time it gets its size hint, as far as the child area
    /// allows, and the place where it covers the windows that are open least; later it keeps what the operator gave it.
    virtual void ShowForm();
    /// Hides the window and its frame; it stays loaded.
    virtual void HideForm();
    /// Closes the window for good. Safe inside the window's own event procedures: it is hidden, out of Forms() and
    /// without a frame at once, FormUnload runs now, and the object is deleted from the event loop; the last two wait
    /// until the window's last KeepLoaded has ended.
    void Unload();
    bool IsUnloading() const { return m_Unloading; }

    /// All child windows that are loading or loaded, in opening order.
    static const QList<ChildWindow*>& Forms();
    /// Unloads all child windows, including hidden ones.
    static void UnloadAll();

    /// Creates the window for a node, puts it, hidden, into the main window's child area and loads it. Null when Load
    /// returned false or the window was unloaded meanwhile. Throws what Load throws. Nothing half-loaded is left
    /// behind.
    template <typename Form>
    static Form* Open(const TreeNodeRef& node)
    {
        return static_cast<Form*>(HostAndLoad(new Loaded<Form>, node));
    }

    /// Keeps a window whole, its server references included, while one of its procedures lets other events run. Ask
    /// IsUnloading afterwards.
    class KeepLoaded
    {
    public:
        explicit KeepLoaded(ChildWindow* form);
        ~KeepLoaded();
        KeepLoaded(const KeepLoaded&) = delete;
        KeepLoaded& operator=(const KeepLoaded&) = delete;

    private:
        QPointer<ChildWindow> m_Form;
    };

protected:
    /// Runs once, after `m_TreeNode` has been set. Returns false when the window is to close silently.
    virtual bool Load() { return true; }
    /// Runs once before the window is deleted, also when Load has failed; must not throw. Release the server's objects
    /// here.
    virtual void FormUnload() {}
    /// Whether the operator may close the window by its frame at present.
    virtual bool MayClose() const { return true; }

    void closeEvent(QCloseEvent* event) override;

private:
    /// Unloads the window while it is still whole, whoever deletes it.
    template <typename Form>
    class Loaded final : public Form
    {
    public:
        ~Loaded() override { static_cast<ChildWindow*>(this)->RunFormUnload(); }
    };

    static ChildWindow* HostAndLoad(ChildWindow* form, const TreeNodeRef& node);
    void Host();
    void Place();
    void RunFormUnload();
    void Release();

    bool m_Unloading = false;
    bool m_FormUnloadDone = false;
    int m_KeptLoaded = 0;
    bool m_IsPlaced = false;
    QPointer<ChildFrame> m_Frame;
};

namespace modMain {

/// The open child window whose node has this key: the first in opening order, or null. Windows without a node are
/// skipped.
ChildWindow* FindFormByNode(const QString& key);

} // namespace modMain
