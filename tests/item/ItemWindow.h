#pragma once

#include "core/modAPI.h"
#include "item/frmItem.h"
#include "tests/support/WindowTest.h"

#include <QTemporaryDir>

/// A window of the item "D100"; the picture file stays in the test.
class ItemWindow : public WindowTest<frmItem>, private modAPI::Platform
{
protected:
    ItemWindow() { modAPI::Replace(this); }
    ~ItemWindow() override { modAPI::Replace(nullptr); }

    FakeServer::Item& Item() { return m_Server.FindItem(u"PLC1"_s, u"D100"_s); }
    TreeNodeRef Node() const { return m_Controller->Child(0); }
    /// Loads the window and forgets the calls that it took.
    frmItem& Open()
    {
        m_Form = ChildWindow::Open<frmItem>(Node());
        TakeCalls();
        return *m_Form;
    }
    /// The names of all controls that the operator can use now.
    QString Enabled() const
    {
        QStringList enabled = u"cmbProperty cmbType txtValue txtElements chkDelay txtDelay cmdGet cmdPut chkActv "
                              u"chkLinkActv cmdSnapshot cmdRemove cmdPerfchk cmdHide fgItem"_s.split(u' ');
        enabled.removeIf([this](const QString& name) { return !m_Form->findChild<QWidget*>(name)->isEnabled(); });
        return enabled.join(u' ');
    }

    QTemporaryDir m_Temporary;
    /// Where the picture file is written.
    QString m_Folder = m_Temporary.path();

private:
    QString WritableProgramFolder() override { return m_Folder; }
};
