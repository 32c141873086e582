#pragma once

#include "server/sources/Source.h"
#include "server/sources/SourceSettings.h"

/// Modbus devices of the plant file. Null when there are mistakes.
SourceRef MakeModbusTcp(const QString& name, SourceSettings& settings);
SourceRef MakeModbusRtu(const QString& name, SourceSettings& settings);
