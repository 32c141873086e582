#include "server/database/ClockTime.h"

#include <ctime>

ClockTime ClockTime::Now()
{
    timespec passing{};
    clock_gettime(CLOCK_BOOTTIME, &passing); // the steady clock of the library stands while the machine sleeps
    return {std::chrono::seconds(passing.tv_sec) + std::chrono::nanoseconds(passing.tv_nsec),
            std::chrono::system_clock::now()};
}
