#pragma once

#include "additem/frmAddItem.h"
#include "tests/support/WindowTest.h"

/// An add-item dialog for the controller "PLC1".
class AddItemDialog : public WindowTest<frmAddItem>
{
protected:
    ~AddItemDialog() override { delete m_Form; }

    /// A new dialog, hidden; forgets the calls and the log so far.
    frmAddItem& Open();
    /// A new dialog, shown and active.
    void Show();
    void ClickPage(int page);
    /// The texts of PLC1's nodes in the tree's order, those of added items with "+" in front.
    QString Nodes() const;
};
