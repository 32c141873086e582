#pragma once

#include "item/frmItem.h"
#include "tests/support/WindowTest.h"

#include <QTemporaryDir>

/// A window of the item "D100"; the picture file stays in the test.
class ItemWindow : public WindowTest<frmItem>
{
protected:
    FakeServer::Item& Item() { return m_Server.FindItem(u"PLC1"_s, u"D100"_s); }
    void Load() { m_Form = ChildWindow::Open<frmItem>(m_Controller->Child(0)); }
    /// Loads the window and forgets the calls that it took.
    void Open()
    {
        Load();
        TakeCalls();
    }

    QTemporaryDir m_Folder;

private:
    QString WritableProgramFolder() override { return m_Folder.path(); }
};
