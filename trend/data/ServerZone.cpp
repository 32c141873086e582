#include "trend/data/ServerZone.h"

#include "trend/data/Reading.h"
#include "trend/data/Rows.h"

#include <QDateTime>

#include <cmath>

Micros ZoneOf(VelSQLEngine& engine)
{
    const QDateTime now = QDateTime::currentDateTime();
    try {
        const auto utc = static_cast<double>(now.toMSecsSinceEpoch() / 1000 * MicrosASecond);
        Rows rows(engine.get_History()->ReadProcessed(Variant(QStringLiteral("-\\-")), Variant(utc),
                                                      Variant(utc + MicrosASecond), Variant(0.0),
                                                      Variant(QStringLiteral("Count"))));
        constexpr qint32 Time = 1, Utc = 2;
        if (rows.Next()) return std::llround(rows.Number(Utc)) - AsIfUtc(rows.Cell(Time).Get<Date>());
    } catch (...) { // no history, or no room for its answer
    }
    return -now.offsetFromUtc() * MicrosASecond;
}
