#pragma once

#include "core/automation/Variant.h"

/// Reads an amount digit by digit, because a double would not hold all digits. Digits after the fourth decimal are
/// rounded, halves to the even neighbour. Throws ValueError. The reverse is FormatCurrency in core/automation.
Currency ReadCurrency(QStringView text);
