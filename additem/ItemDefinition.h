#pragma once

#include "core/automation/Variant.h"

class Ui_frmAddItem;

/// The definition of the new item as the dialog's controls stand now, enabled or not: an array of 41 values of the types that the
/// server expects, BSTR for texts, BOOL for check boxes (grayed is False), I2 for positions in lists (-1: nothing selected).
Variant ComposeDefinition(const Ui_frmAddItem& form);
