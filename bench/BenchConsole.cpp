#include "bench/BenchConsole.h"

#include "core/modMain.h"

BenchConsole::BenchConsole(const QStringList& itemNames, const std::function<void()>& beforeStart)
{
    if (beforeStart) beforeStart();
    m_Server.Start();
    m_MainWindow.Widget()->show();
    m_MainWindow.BuildTree(itemNames);
    modMain::Engine = m_Library.CreateEngine();
    modMain::History = modMain::Engine->get_History();
}

TreeNodeRef BenchConsole::ControllerNode()
{
    return modMain::EngineNode->Child(0);
}

ControllerRef BenchConsole::Controller()
{
    return modMain::Engine->get_Controller(Variant(ControllerNode()->Text()));
}

ItemRef BenchConsole::Item(const QString& name)
{
    return Controller()->get_Item(Variant(name));
}
