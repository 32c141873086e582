#pragma once

#include "core/ListBox.h"
#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/PropertyGrid.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::StringLiterals;

/// A console on a fake server, with the controller "PLC1" of the items "D100" and "D200" in its tree, and one window whose controls
/// the test works by name.
template <typename Form>
class WindowTest : public ::testing::Test
{
protected:
    WindowTest()
    {
        modMain::Engine = m_Server.CreateEngine();
        modMain::ReplaceMessageBoxes([this](QMessageBox& box) {
            m_Boxes << QString::number(box.icon()) + u' ' + box.text();
            m_WhileAsking();
            return m_Answer;
        });
        TakeCalls();
    }
    ~WindowTest() override { modMain::ReplaceMessageBoxes({}); }

    template <typename T>
    T& Control(QAnyStringView name)
    {
        T* control = m_Form->template findChild<T*>(name.toString());
        EXPECT_TRUE(control) << name.toString().toStdString();
        return *control;
    }
    QLineEdit& Box(QAnyStringView name) { return Control<QLineEdit>(name); }
    QCheckBox& Check(QAnyStringView name) { return Control<QCheckBox>(name); }
    ListBox& List(QAnyStringView name) { return Control<ListBox>(name); }
    QString Text(const char* name) { return Box(name).text(); }
    void Type(const char* name, const QString& text) { Box(name).setText(text); }
    void Tick(const char* name, bool ticked = true) { Check(name).setChecked(ticked); }
    void Press(const char* name) { Control<QPushButton>(name).click(); }
    void Choose(const char* name, const QString& entry) { List(name).SetListIndex(List(name).findText(entry)); }
    bool IsEnabled(const char* name) { return Control<QWidget>(name).isEnabled(); }
    QStringList Column(const char* grid, int column)
    {
        QStringList texts;
        const auto& cells = Control<PropertyGrid>(grid);
        for (int row = 0; row < cells.rowCount(); ++row) texts << cells.CellText(row, column);
        return texts;
    }

    /// Runs once, when events are let run next.
    template <typename Action>
    void WhenEventsRun(Action action)
    {
        QMetaObject::invokeMethod(m_Main.Widget(), action, Qt::QueuedConnection);
    }

    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }
    QStringList TakeStatus() { return std::exchange(m_Main.m_StatusTexts, {}); }
    QStringList TakeBoxes() { return std::exchange(m_Boxes, {}); }
    QStringList TakeLog()
    {
        const QStringList messages = m_Main.LogMessages();
        modMain::ClearTextBox(&m_Main.Log());
        return messages;
    }

    /// Presses the button of a call that succeeds and then fails: `call` as the server records it, `announced` as "Object:Operation".
    void ExpectAnnounced(const char* button, const QString& call, const QString& announced)
    {
        SCOPED_TRACE(call.toStdString());
        TakeCalls(), TakeLog();
        for (const QString& failure : {QString(), u"No, not <b>now</b>"_s}) {
            if (!failure.isNull()) m_Server.FailCall(1, failure);
            TakeStatus();
            Press(button);
            EXPECT_EQ(TakeCalls(), QStringList{call});
            EXPECT_EQ(TakeLog(),
                      QStringList({u"Calling %1..."_s.arg(announced), failure.isNull() ? u"Succeeded."_s : failure}));
            EXPECT_EQ(TakeStatus(), QStringList({u"Ready."_s, announced.section(u':', 1) + u"..."_s, u"Ready."_s}));
        }
    }

    FakeServer m_Server;
    FakeMainWindow m_Main;
    TreeNodeRef m_Controller = m_Main.BuildTree({u"D100"_s, u"D200"_s})->Child(0);
    QPointer<Form> m_Form;
    /// Every message box as its icon (0: none, 1: information, 2: exclamation) and text.
    QStringList m_Boxes;
    QMessageBox::StandardButton m_Answer = QMessageBox::Ok;
    /// What happens while a message box stands.
    std::function<void()> m_WhileAsking = [] {};
};
