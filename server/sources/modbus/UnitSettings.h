#pragma once

#include "server/sources/modbus/ReadPlan.h"

#include <QString>

#include <chrono>

/// What a plant file says of one unit of a line.
struct UnitSettings
{
    QString Name; ///< of the device
    quint8 Number = 1;
    std::chrono::milliseconds Timeout{1000};
    std::chrono::milliseconds Pause{0}; ///< before each request
    int Retries = 1;
    ReadLimits Limits;
    int FirstAddress = 0;
    Order Bytes;
    bool TakesWrites = false;
};
