#pragma once

class Ui_frmAddItem;

/// Fills the ten drop-down lists of the add-item dialog; nothing is selected afterwards.
void InitComboLists(const Ui_frmAddItem& form);
