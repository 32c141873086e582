#pragma once

#include "additem/frmAddItem.h"
#include "tests/support/WindowTest.h"

/// An add-item dialog for the controller "PLC1".
class AddItemDialog : public WindowTest<frmAddItem>
{
protected:
    ~AddItemDialog() override { delete m_Form; }

    /// A new dialog, hidden; forgets the calls and the log so far.
    void Open()
    {
        delete m_Form;
        m_Form = new frmAddItem(m_Main.Widget());
        m_Form->m_csCtrl = modMain::Engine->get_Controller(Variant(u"PLC1"_s));
        m_Form->m_TreeNode = m_Controller;
        TakeCalls(), TakeLog(), TakeStatus();
    }
    /// A new dialog, shown and active.
    void Show()
    {
        Open();
        m_Form->open();
        m_Form->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_Form));
    }
    /// Types a text and leaves the field as the Tab key does; what then stands there, none when it was refused.
    std::optional<QString> Left(QAnyStringView field, const QString& typed)
    {
        const QWidget* page = m_Form->findChild<QWidget*>(u"picFrame_0"_s);
        Control<QTabWidget>("sstbAddItem").setCurrentIndex(page->isAncestorOf(&Box(field)) ? 0 : 1);
        Box(field).setEnabled(true);
        Box(field).setFocus();
        Box(field).setText(typed);
        QTest::keyClick(&Box(field), Qt::Key_Tab);
        if (!Box(field).hasFocus()) return Box(field).text();
        EXPECT_TRUE(Box(field).text() == typed && Box(field).selectedText() == typed) << typed.toStdString();
        Box(field).setText(field == u"txtItemName" ? QString() : u"0"_s); // lets the focus go
        return std::nullopt;
    }
    FakeServer::Controller& Plc() { return m_Server.FindController(u"PLC1"_s); }
    /// The texts of PLC1's nodes in the tree's order, those of added items with "+" in front.
    QString Nodes() const
    {
        QString texts;
        for (int row = 0; row < m_Controller->ChildCount(); ++row) {
            const TreeNodeRef node = m_Controller->Child(row);
            texts += (node->Tag() == NodeTag::AddItem ? u" +"_s : u" "_s) + node->Text();
        }
        return texts.sliced(1);
    }
};
