#pragma once

#include "core/automation/Variant.h"

class Ui_frmAddItem;

/// Which control of the add-item dialog enters which element of an item's definition.

/// Fills the dialog's drop-down lists; nothing is selected afterwards.
void FillLists(const Ui_frmAddItem& form);
/// The definition of the new item from the current contents of all controls, enabled or not: an array of 41 values of
/// the types that the server expects, BSTR for texts, BOOL for check boxes (grayed is False), I2 for positions in lists
/// (-1: nothing selected).
Variant ComposeDefinition(const Ui_frmAddItem& form);
