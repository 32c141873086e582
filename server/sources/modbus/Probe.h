#pragma once

#include <QString>
#include <QStringList>

/// What a unit has in some registers or bits, each range as a table in several readings, and the beginning of a plant
/// file for all of them. `where` is modbus-tcp://HOST:PORT/UNIT or
/// modbus-rtu:///dev/ttyUSB0?unit=1&baud=19200&parity=even, `ranges` such as holding:0-20, at most 1000 addresses each.
/// Throws DescribedError.
QString ProbeModbus(const QString& where, const QStringList& ranges);
