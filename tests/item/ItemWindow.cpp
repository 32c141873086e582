#include "tests/item/ItemWindow.h"

frmItem& ItemWindow::Open()
{
    m_Form = ChildWindow::Open<frmItem>(Node());
    TakeCalls();
    return *m_Form;
}

QString ItemWindow::Enabled() const
{
    static const QString Names = u"cmbProperty cmbType txtValue txtElements chkDelay txtDelay cmdGet cmdPut chkActv "
                                 u"chkLinkActv cmdSnapshot cmdRemove cmdPerfchk cmdHide fgItem"_s;
    QStringList enabled = Names.split(u' ');
    enabled.removeIf([this](const QString& name) { return !m_Form->findChild<QWidget*>(name)->isEnabled(); });
    return enabled.join(u' ');
}
