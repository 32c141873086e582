#pragma once

#include "core/automation/Variant.h"

/// Reads an amount digit by digit: a double would not hold all of them. Digits behind the fourth decimal are rounded,
/// halves to the even neighbour. Throws ValueError. core/automation's FormatCurrency is the way back.
Currency ReadCurrency(QStringView text);
