#include "tests/system/SystemConsole.h"

#include "core/LogPane.h"
#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "mainwindow/Start.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QLabel>

#include <unistd.h>

SystemConsole::SystemConsole()
{
    modMain::ReplaceMessageBoxes([this](QMessageBox& box) {
        m_Boxes << box.text();
        return QMessageBox::Ok;
    });
}

SystemConsole::~SystemConsole()
{
    m_Main.reset();
    modMain::ReplaceMessageBoxes({});
}

void SystemConsole::StartConsoleWith(const QString& serverProgram)
{
    m_Library = std::make_unique<RemoteLibrary>(m_Server.SocketPath(), serverProgram);
    m_Main = StartConsole(*m_Library);
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
    tree.expand(index.parent());
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

QString SystemConsole::Cell(QObject& window, const QString& caption)
{
    const auto& grid = *window.findChild<PropertyGrid*>();
    for (int row = 0; row < grid.rowCount(); ++row) {
        if (grid.CellText(row, 0) == caption) return grid.CellText(row, 1);
    }
    return u"no such row"_s;
}

QString SystemConsole::Panel(int number)
{
    return Control<QLabel>(*m_Main, qPrintable(u"stbrMain_%1"_s.arg(number))).text();
}

QWidget& SystemConsole::OpenScriptTool()
{
    Control<QAction>(*m_Main, "mnuTool_0").trigger();
    const QWidgetList windows = QApplication::topLevelWidgets();
    return **std::find_if(windows.begin(), windows.end(),
                          [](const QWidget* window) { return window->objectName() == u"frmScriptTool"; });
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

QStringList SystemConsole::TakeLog()
{
    QStringList messages;
    for (const QString& line : m_Main->Log().Text().split(u"\r\n"_s, Qt::SkipEmptyParts))
        messages << line.section(u" : "_s, 1);
    modMain::ClearTextBox(&m_Main->Log());
    return messages;
}
