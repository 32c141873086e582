#pragma once

#include <QString>
#include <QStringList>

/// What a unit has in some registers or bits, as a table in several readings, and the beginning of a plant file for
/// it. `where` is modbus-tcp://HOST:PORT/UNIT or modbus-rtu:///dev/ttyUSB0?unit=1&baud=19200&parity=even, `what` such
/// as holding:0-20, at most 1000 of them. Throws DescribedError.
QString ProbeModbus(const QString& where, const QString& what);
