#include "tests/item/ItemWindow.h"

#include "core/ListBox.h"
#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/PropertyGrid.h"

ItemWindow::ItemWindow()
{
    m_Main.m_Controller = m_Main.BuildTree({QStringLiteral("D100"), QStringLiteral("D200")})->Child(0);
    modMain::Engine = m_Server.CreateEngine();
    modAPI::Replace(this);
    modMain::ReplaceMessageBoxes([this](QMessageBox& box) {
        m_Boxes << box.text();
        return m_Answer;
    });
}

ItemWindow::~ItemWindow()
{
    modMain::ReplaceMessageBoxes({});
    modAPI::Replace(nullptr);
}

frmItem& ItemWindow::Open()
{
    m_Form = ChildWindow::Open<frmItem>(Node());
    TakeCalls();
    return *m_Form;
}

void ItemWindow::Choose(const char* name, const QString& entry)
{
    auto& list = Control<ListBox>(name);
    list.SetListIndex(list.findText(entry));
}

QStringList ItemWindow::Enabled() const
{
    static constexpr std::array Names = {"cmbProperty", "cmbType",   "txtValue",   "txtElements", "chkDelay",
                                         "txtDelay",    "cmdGet",    "cmdPut",     "chkActv",     "chkLinkActv",
                                         "cmdSnapshot", "cmdRemove", "cmdPerfchk", "cmdHide",     "fgItem"};
    QStringList enabled;
    for (const char* name : Names) {
        if (m_Form->findChild<QWidget*>(QString::fromLatin1(name))->isEnabled()) enabled << QString::fromLatin1(name);
    }
    return enabled;
}

QStringList ItemWindow::CellTexts()
{
    const auto& grid = Control<PropertyGrid>("fgItem");
    QStringList texts;
    for (int row = 0; row < grid.rowCount(); ++row) texts << grid.CellText(row, 1);
    return texts;
}

QStringList ItemWindow::TakeLog()
{
    const QStringList messages = m_Main.LogMessages();
    modMain::ClearTextBox(&m_Main.Log());
    return messages;
}
