#include "tests/support/FakeMainWindow.h"

#include "core/modMain.h"

#include <QCoreApplication>
#include <QEvent>
#include <QVBoxLayout>

FakeMainWindow::FakeMainWindow(ConsoleServices& services)
    : MainWindow(services)
    , m_Area(new QMdiArea(&m_Widget))
    , m_Log(new LogPane(&m_Widget))
{
    auto* layout = new QVBoxLayout(&m_Widget);
    layout->addWidget(m_Area);
    layout->addWidget(m_Log);
    m_Widget.resize(1000, 800);
    modMain::Reset();
    modMain::SetMainWindow(this);
}

FakeMainWindow::~FakeMainWindow()
{
    delete m_Area; // the child windows go first, as when the console is closed
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    modMain::Reset();
    modMain::SetMainWindow(nullptr);
}

TreeNodeRef FakeMainWindow::BuildTree(const QStringList& itemNames)
{
    modMain::EngineNode = m_Tree.SetRoot(QStringLiteral("VelSQLEngine"), NodeTag::Engine);
    const TreeNodeRef controller = m_Tree.Append(modMain::EngineNode, QStringLiteral("PLC1"), NodeTag::Controller);
    m_Tree.Append(controller, itemNames, NodeTag::Item);
    modMain::HistoryNode = m_Tree.Append(modMain::EngineNode, QStringLiteral("VelSQLHistory"), NodeTag::History);
    m_CurrentNode = modMain::EngineNode;
    return modMain::EngineNode;
}
