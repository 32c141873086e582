#include "tests/additem/AddItemDialog.h"

#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "core/modMain.h"

AddItemDialog::AddItemDialog()
{
    m_Controller = m_Main.BuildTree({u"D100"_s, u"D200"_s})->Child(0);
    modMain::Engine = m_Server.CreateEngine();
    modMain::ReplaceMessageBoxes([this](QMessageBox& box) {
        m_Boxes << QString::number(box.icon()) + u' ' + box.text();
        return QMessageBox::Ok;
    });
}

AddItemDialog::~AddItemDialog()
{
    delete m_Dialog;
    modMain::ReplaceMessageBoxes({});
}

frmAddItem& AddItemDialog::Open()
{
    delete m_Dialog;
    m_Dialog = new frmAddItem(m_Main.Widget());
    m_Dialog->m_csCtrl = modMain::Engine->get_Controller(Variant(u"PLC1"_s));
    m_Dialog->m_TreeNode = m_Controller;
    TakeCalls();
    TakeLog();
    m_Main.m_StatusTexts.clear();
    return *m_Dialog;
}

void AddItemDialog::Show()
{
    Open().open();
    m_Dialog->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Dialog));
}

void AddItemDialog::ClickPage(int page)
{
    QTabBar* bar = Control<QTabWidget>(u"sstbAddItem"_s).tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(page).center());
}

QStringList AddItemDialog::TakeLog()
{
    const QStringList messages = m_Main.LogMessages();
    modMain::ClearTextBox(&m_Main.Log());
    return messages;
}

QString AddItemDialog::Nodes() const
{
    QStringList texts;
    for (int row = 0; row < m_Controller->ChildCount(); ++row) {
        const TreeNodeRef node = m_Controller->Child(row);
        texts << (node->Tag() == NodeTag::AddItem ? u"+"_s : QString()) + node->Text();
    }
    return texts.join(u' ');
}
