#pragma once

#include "additem/frmAddItem.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// A console with the controller "PLC1" of the items "D100" and "D200", and an add-item dialog for it; message boxes are answered with
/// OK and kept.
class AddItemDialog : public ::testing::Test
{
protected:
    AddItemDialog();
    ~AddItemDialog() override;

    /// A new dialog, hidden; forgets the calls and the log so far.
    frmAddItem& Open();
    /// A new dialog, shown and active.
    void Show();

    template <typename T>
    T& Control(const QString& name)
    {
        T* control = m_Dialog->findChild<T*>(name);
        EXPECT_TRUE(control) << name.toStdString();
        return *control;
    }
    QLineEdit& Box(const QString& name) { return Control<QLineEdit>(name); }
    QCheckBox& Check(const QString& name) { return Control<QCheckBox>(name); }
    ListBox& List(const QString& name) { return Control<ListBox>(name); }
    void ClickPage(int page);
    void Press(const QString& name) { Control<QPushButton>(name).click(); }

    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }
    QStringList TakeBoxes() { return std::exchange(m_Boxes, {}); }
    QStringList TakeLog();
    /// The texts of PLC1's nodes in the tree's order, those of added items with "+" in front.
    QString Nodes() const;

    FakeServer m_Server;
    FakeMainWindow m_Main;
    TreeNodeRef m_Controller;
    QPointer<frmAddItem> m_Dialog;
    /// Every message box as its icon (2: exclamation) and text.
    QStringList m_Boxes;
};
