#include "tests/perfcheck/PerfChkDialog.h"

#include "core/ListBox.h"
#include "core/MessageBoxes.h"
#include "core/modMain.h"

PerfChkDialog::PerfChkDialog()
{
    modAPI::Replace(this);
    modMain::ReplaceMessageBoxes([this](QMessageBox& box) {
        EXPECT_EQ(box.icon(), QMessageBox::Warning);
        m_Boxes << box.text();
        return QMessageBox::Ok;
    });
    m_Form = new frmPerfChk(m_Main->Widget());
    m_Form->m_csItem = m_Server.CreateEngine()->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(u"D100"_s));
    m_Server.m_Calls.clear();
}

PerfChkDialog::~PerfChkDialog()
{
    delete m_Form.data();
    modMain::ReplaceMessageBoxes({});
    modAPI::Replace(nullptr);
}

void PerfChkDialog::ChooseType(const QString& caption)
{
    auto& list = Control<ListBox>(u"cmbValueType"_s);
    list.SetListIndex(list.findText(caption));
}

QStringList PerfChkDialog::Enabled()
{
    const QStringList names =
        u"optPattern_0 txtHour lblTimeDelimiter txtMinute optPattern_1 txtPatternCount udPatternCount optPattern_2 "
        "optReadWrite_0 optReadWrite_1 optReadWrite_2 lblValue cmbValueType txtValue chkDataCheck chkIgnore chkOutput "
        "cmdStart cmdStop cmdClear cmdExit"_s.split(u' ');
    QStringList enabled;
    for (const QString& name : names) {
        if (Control<QWidget>(name).isEnabled()) enabled << name;
    }
    return enabled;
}

QStringList PerfChkDialog::Rows()
{
    const auto& list = Control<QTreeWidget>(u"lvResult"_s);
    QStringList rows;
    for (int row = 0; row < list.topLevelItemCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < 4; ++column) cells << list.topLevelItem(row)->text(column);
        rows << cells.join(u'|');
    }
    return rows;
}

QStringList PerfChkDialog::TakeCalls()
{
    QStringList calls = std::exchange(m_Server.m_Calls, {});
    return calls.replaceInStrings(u"Item(D100)."_s, QString());
}
