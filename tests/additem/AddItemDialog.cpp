#include "tests/additem/AddItemDialog.h"

frmAddItem& AddItemDialog::Open()
{
    delete m_Form;
    m_Form = new frmAddItem(m_Main.Widget());
    m_Form->m_csCtrl = modMain::Engine->get_Controller(Variant(u"PLC1"_s));
    m_Form->m_TreeNode = m_Controller;
    TakeCalls();
    TakeLog();
    TakeStatus();
    return *m_Form;
}

void AddItemDialog::Show()
{
    Open().open();
    m_Form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_Form));
}

void AddItemDialog::ClickPage(int page)
{
    QTabBar* bar = Control<QTabWidget>("sstbAddItem").tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(page).center());
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
