#pragma once

#include "server/plantfile/FileTable.h"
#include "server/sources/simulated/Signal.h"

#include <QSet>

/// Makes the signal that a table of the plant file describes, for an item of `type`; null when the table has mistakes.
/// Relative paths start from `folder`.
SignalRef ReadSignal(FileTable table, VarType type, const QString& folder);

/// What may stand in such a table, whatever its form.
QSet<QString> SignalKeys();
