#pragma once

#include "core/ChildWindow.h"
#include "core/ListBox.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// A console on a server with the controller "PLC1" and one window of the controller room.
class ControllerConsole : public ::testing::Test
{
protected:
    ControllerConsole();

    TreeNodeRef Node() const { return m_Node; }
    FakeServer::Controller& Controller() { return m_Server.FindController(u"PLC1"_s); }

    /// Loads the window and forgets the calls that it took; null when it did not want to be loaded.
    template <typename Form>
    ChildWindow* Open()
    {
        m_Form = ChildWindow::Open<Form>(m_Node);
        TakeCalls();
        return m_Form;
    }
    template <typename T>
    T& Control(const char* name)
    {
        return *m_Form->findChild<T*>(QString::fromLatin1(name));
    }
    QString Text(const char* name) { return Control<QLineEdit>(name).text(); }
    void Type(const char* name, const QString& text) { Control<QLineEdit>(name).setText(text); }
    void Tick(const char* name, bool ticked = true) { Control<QCheckBox>(name).setChecked(ticked); }
    void Press(const char* name) { Control<QPushButton>(name).click(); }
    void Choose(const char* name, const QString& entry);

    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }
    QStringList TakeLog();
    QStringList TakeStatus() { return std::exchange(m_Main.m_StatusTexts, {}); }

    /// One call of a command, failing and succeeding: `call` as the server records it, `object` and `operation` as announced.
    void ExpectAnnounced(const char* button, const QString& call, const QString& object, const QString& operation);

    FakeServer m_Server;
    FakeMainWindow m_Main;
    QPointer<ChildWindow> m_Form;

private:
    TreeNodeRef m_Node;
};
