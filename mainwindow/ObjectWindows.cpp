#include "mainwindow/ObjectWindows.h"

#include "additem/frmAddItem.h"
#include "batchwrite/frmBatchWrite.h"
#include "controller/frmController.h"
#include "controller/frmEngine.h"
#include "core/automation/Errors.h"
#include "core/automation/FindProgram.h"
#include "core/ChildWindow.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"
#include "history/frmHistory.h"
#include "item/frmItem.h"
#include "scripttool/ScriptTool.h"

#include <QProcess>

namespace {

QString ControllerCaption(const TreeNodeRef& node)
{
    return QStringLiteral("Controller(%1)").arg(node->Text());
}

QString ItemCaption(const TreeNodeRef& node)
{
    return ControllerCaption(node->Parent()) + QStringLiteral(".Item(%1)").arg(node->Text());
}

/// A window title in which Qt finds no placeholder for unsaved changes.
QString LiteralTitle(QString text)
{
    return text.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]"));
}

/// The window has its node's icon; the frame around it shows its own.
void SetNodeIcon(ChildWindow& form, const TreeNodeRef& node)
{
    const QIcon icon = modMain::GetMainWindow()->Tree().Image(node->Tag());
    form.setWindowIcon(icon);
    if (form.parentWidget()) form.parentWidget()->setWindowIcon(icon);
}

/// One window per node: an open one comes to the front, otherwise a new one opens. Deleted if it refuses to load.
template <typename Form, QString (*Caption)(const TreeNodeRef&)>
void ShowNodeWindow(const TreeNodeRef& node)
{
    ChildWindow* form = modMain::FindFormByNode(node->Key());
    if (!form) {
        form = ChildWindow::Open<Form>(node);
        if (!form) return;
        form->setWindowTitle(LiteralTitle(Caption(node)));
        SetNodeIcon(*form, node);
    }
    form->ShowForm();
}

/// The only window of its kind: the open one, else a new one; null when that refuses to load.
template <typename Form>
Form* SingleWindow(const TreeNodeRef& node)
{
    for (ChildWindow* form : ChildWindow::Forms()) {
        if (auto* single = dynamic_cast<Form*>(form)) return single;
    }
    return ChildWindow::Open<Form>(node);
}

/// An object that exists once has one window: if it is open it comes to the front, otherwise it opens.
template <typename Form>
void ShowSingleWindow(const TreeNodeRef& node)
{
    Form* form = SingleWindow<Form>(node);
    if (!form) return;
    SetNodeIcon(*form, node);
    form->ShowForm();
}

void AddItem(const TreeNodeRef& node)
{
    ShowAddItem(modMain::Engine->get_Controller(Variant(node->Text())), node);
}

/// One window for the whole application, without a node: it writes to the controller for which it was last opened.
void BatchWrite(const TreeNodeRef& node)
{
    auto* form = SingleWindow<frmBatchWrite>(TreeNodeRef());
    if (!form) return;
    form->SetTargetController(node->Text());
    form->ShowForm();
}

/// A program of its own, which outlives the console.
void StartTrend(const QStringList& items)
{
    const QString name = QStringLiteral("velsqltrend");
    const QString program = FindProgram(name);
    if (program.isEmpty())
        throw DescribedError(QStringLiteral("%1 is neither beside the console nor on the path.").arg(name));
    if (!QProcess::startDetached(program, items))
        throw DescribedError(QStringLiteral("%1 could not be started.").arg(program));
}

} // namespace

ObjectWindows ConsoleWindows()
{
    ObjectWindows windows;
    windows.Show = {{NodeTag::Engine, ShowSingleWindow<frmEngine>},
                    {NodeTag::Controller, ShowNodeWindow<frmController, ControllerCaption>},
                    {NodeTag::Item, ShowNodeWindow<frmItem, ItemCaption>},
                    {NodeTag::AddItem, ShowNodeWindow<frmItem, ItemCaption>},
                    {NodeTag::History, ShowSingleWindow<frmHistory>}};
    windows.AddItem = AddItem;
    windows.BatchWrite = BatchWrite;
    windows.StartTrend = StartTrend;
    windows.CreateScriptTool = [] { return std::make_shared<ScriptTool>(); };
    return windows;
}
