#pragma once

#include "core/modAPI.h"
#include "item/frmItem.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// A console with one controller "PLC1", whose item "D100" has a window; message boxes and the picture file stay in the test.
class ItemWindow : public ::testing::Test, private modAPI::Platform
{
protected:
    ItemWindow();
    ~ItemWindow() override;

    FakeServer::Item& Item() { return m_Server.FindItem(QStringLiteral("PLC1"), QStringLiteral("D100")); }
    TreeNodeRef Node() const { return m_Main.m_Controller->Child(0); }
    /// Loads the window and forgets the calls that it took.
    frmItem& Open();

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
    /// The names of all controls that the operator can use now.
    QStringList Enabled() const;
    /// The second column of the grid.
    QStringList CellTexts();

    QStringList TakeCalls() { return std::exchange(m_Server.m_Calls, {}); }
    QStringList TakeLog();

    struct Main : FakeMainWindow
    {
        TreeNodeRef m_Controller;
    };

    FakeServer m_Server;
    Main m_Main;
    QPointer<frmItem> m_Form;
    QTemporaryDir m_Temporary;
    /// Where the picture file is written.
    QString m_Folder = m_Temporary.path();
    QStringList m_Boxes;
    QMessageBox::StandardButton m_Answer = QMessageBox::Ok;

private:
    QString WritableProgramFolder() override { return m_Folder; }
};
