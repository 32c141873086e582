#include "tests/system/SystemConsole.h"

#include "core/automation/PlainText.h"
#include "core/LogPane.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "history/StatementEdit.h"
#include "mainwindow/Start.h"

#include <QDir>
#include <QLabel>
#include <QPlainTextEdit>

#include <unistd.h>

void SystemConsole::StartConsoleWith(const QString& serverProgram)
{
    m_Library = std::make_unique<RemoteLibrary>(m_Server.SocketPath(), serverProgram);
    m_Main.reset();
    m_Services.reset(new ConsoleServices{*m_Library, *this});
    m_Main = StartConsole(*m_Services);
}

void SystemConsole::StartBoth()
{
    m_Server.Start();
    StartConsoleWith(QString());
    ASSERT_TRUE(m_Main);
}

ChildWindow& SystemConsole::Show(QStringView key)
{
    auto& tree = Control<ObjectTreeView>(*m_Main, "treeObject");
    const QModelIndex index = m_Main->Tree().IndexOf(Node(key));
    tree.Expand(index.parent());
    tree.scrollTo(index);
    const QRect place = tree.visualRect(index);
    const QPoint onNode(place.left() + 10, place.center().y());
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, onNode);
    QTest::mouseDClick(tree.viewport(), Qt::LeftButton, {}, onNode);
    const auto& forms = ChildWindow::Forms();
    const auto own = std::find_if(forms.begin(), forms.end(), [&](const ChildWindow* form) {
        return form->m_TreeNode && form->m_TreeNode->Key() == key;
    });
    return own == forms.end() ? *forms.last() : **own;
}

qsizetype SystemConsole::OpenEveryWindow(const TreeNodeRef& node)
{
    Show(node->Key());
    qsizetype count = 1;
    for (int child = 0; child < node->ChildCount(); ++child) count += OpenEveryWindow(node->Child(child));
    return count;
}

void SystemConsole::ChooseInPopup(QStringView key, const char* entry)
{
    m_Main->m_CurrentNode = Node(key);
    Entry(entry).trigger();
}

ChildWindow& SystemConsole::OpenBatch(const QByteArray& content, QStringView controller)
{
    m_BatchFile.emplace(QDir::temp().filePath(u"recipe-XXXXXX.txt"_s));
    EXPECT_TRUE(m_BatchFile->open());
    m_BatchFile->write(content);
    m_BatchFile->flush();
    ChooseInPopup(controller, "mnuPopupCtrl_8");
    ChildWindow& window = *ChildWindow::Forms().last();
    Type(window, "txtFilename", m_BatchFile->fileName());
    return window;
}

QWidget& SystemConsole::TopLevel(const QString& name)
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return **std::find_if(windows.begin(), windows.end(),
                          [&](const QWidget* widget) { return widget->objectName() == name; });
}

QWidget& SystemConsole::OpenGuide()
{
    m_HasBrowser = false;
    m_Main->activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([] { return QApplication::focusWidget(); }));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_F1);
    return TopLevel(u"frmGuide"_s);
}

QWidget& SystemConsole::RunScript(const QString& script)
{
    Entry("mnuTool_0").trigger();
    QWidget& window = TopLevel(u"frmScriptTool"_s);
    Control<QPlainTextEdit>(window, "txtScript").setPlainText(script);
    Press(window, "cmdRun");
    return window;
}

bool SystemConsole::WaitForScript(const QWidget& window)
{
    return QTest::qWaitFor([&] { return Control<QPushButton>(window, "cmdRun").isEnabled(); }, 60'000);
}

ChildWindow& SystemConsole::Query(const QString& statement)
{
    ChildWindow& window = Show(u"VelSQLEngine\\VelSQLHistory");
    Control<StatementEdit>(window, "txtExecute").SetText(statement);
    Press(window, "cmdExecute");
    return window;
}

QString SystemConsole::Cell(QObject& window, const QString& caption)
{
    const auto& grid = *window.findChild<PropertyGrid*>();
    for (int row = 0; row < grid.rowCount(); ++row) {
        if (grid.CellText(row, 0) == caption) return grid.CellText(row, 1);
    }
    return u"no such row"_s;
}

bool SystemConsole::WaitForCell(QObject& window, const QString& caption, const QString& text)
{
    return QTest::qWaitFor([&] { return Cell(window, caption) == text; }, 20'000);
}

QStringList SystemConsole::Panels()
{
    QStringList texts;
    for (const char* panel : {"stbrMain_1", "stbrMain_2", "stbrMain_3"})
        texts << Control<QLabel>(*m_Main, panel).text();
    return texts;
}

QString SystemConsole::Ask(const QString& command)
{
    return ToPlainText(modMain::Engine->Execute(command));
}

bool SystemConsole::WaitUntilNothingIsHeld()
{
    return QTest::qWaitFor([this] { return m_Server.Answer(u"references"_s) == NothingHeld; }, 20'000);
}

ItemRef SystemConsole::Item(const QString& name)
{
    return modMain::Engine->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(name));
}

int SystemConsole::ScriptProcesses()
{
    int count = 0;
    for (const QString& process : QDir(u"/proc"_s).entryList({u"[0-9]*"_s})) {
        QFile file(u"/proc/%1/stat"_s.arg(process));
        if (!file.open(QIODevice::ReadOnly)) continue;
        const QByteArray stat = file.readAll();
        const QList<QByteArray> rest = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        if (stat.contains("(velsqlscript)") && rest.value(0) != "Z" && rest.value(1).toInt() == getpid()) ++count;
    }
    return count;
}
