#pragma once

#include "core/automation/Errors.h"

/// `text` in double quotes for a message: shortened, on one line.
QString Quote(QStringView text);

ValueError NotANumber(QStringView text);
ValueError Outside(QStringView text, const QString& lowest, const QString& highest);
ValueError NestedTooDeep();
