#include "tests/scripttool/ScriptWindow.h"

#include <QApplication>

ScriptWindow::ScriptWindow()
{
    m_Tool->Show();
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() == u"frmScriptTool") m_Window = window;
    }
    EXPECT_TRUE(QTest::qWaitForWindowActive(m_Window));
}

void ScriptWindow::Start(const QByteArray& commands)
{
    QFile::remove(m_Folder.filePath(u"pid"_s));
    QFile file(m_Folder.filePath(u"program"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\ncd " + QFile::encodeName(m_Folder.path()) + "\n" + commands + "\n");
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    file.close();
    Control("cmdRun").click();
}

QString ScriptWindow::Run(const QByteArray& commands)
{
    Start(commands);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Control("cmdRun").isEnabled(); }, 10'000));
    return Status();
}

QString ScriptWindow::Stop()
{
    Control("cmdStop").click();
    EXPECT_TRUE(QTest::qWaitFor([this] { return Control("cmdRun").isEnabled(); }, 10'000));
    return Status();
}

int ScriptWindow::Pid()
{
    QFile file(m_Folder.filePath(u"pid"_s));
    EXPECT_TRUE(QTest::qWaitFor([&] { return file.size() > 0; }, 5000) && file.open(QIODevice::ReadOnly));
    return file.readAll().trimmed().toInt();
}

bool ScriptWindow::Lives(int pid)
{
    QFile stat(u"/proc/%1/stat"_s.arg(pid));
    return stat.open(QIODevice::ReadOnly) && !stat.readAll().contains(") Z ");
}
