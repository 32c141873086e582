// What values of each kind cost on the disk in SQLite: a year of 1,000 values a second, from what a million take.
#include "bench/RecordedHistory.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <array>
#include <cstdio>

namespace {

constexpr qint64 Values = 1'000'000;

/// Of numbers that nobody can foresee, from 0 up to 1.
double NoiseOf(qint64 item, qint64 time)
{
    const auto number = static_cast<quint64>(item + time * 1'000'003);
    return static_cast<double>((number * 0x9E3779B97F4A7C15U) >> 11) * 0x1p-53;
}

constexpr std::array Kinds = {
    Waves,
    ValueKind{"sines, each of its own",
              [](qint64 item, qint64 time) {
                  return Variant(100 * std::sin(static_cast<double>(time) * 0.001 + static_cast<double>(item)));
              }},
    ValueKind{"numbers at random", [](qint64 item, qint64 time) { return Variant(NoiseOf(item, time)); }},
    ValueKind{"counters", [](qint64, qint64 time) { return Variant(static_cast<qint32>(time)); }},
    ValueKind{"whole numbers at random up to 65535",
              [](qint64 item, qint64 time) { return Variant(static_cast<qint32>(65536 * NoiseOf(item, time))); }},
    ValueKind{"booleans", [](qint64, qint64 time) { return Variant(time % 2 == 0); }},
    ValueKind{"texts of 20 characters, each another",
              [](qint64 item, qint64 time) {
                  return Variant(QStringLiteral("batch%1").arg(item + 1000 * time, 15, 10, QChar(u'0')));
              }},
};

/// From what a million values of each kind take.
void PrintYears(const QString& folder, const Rhythm& rhythm)
{
    constexpr double valuesAYear = 1000.0 * 365 * 86'400;
    std::printf("a year of 1000 values a second, in GB (and bytes a value):\n");
    for (const ValueKind& kind : Kinds) {
        const QString place = folder + QStringLiteral("/kind");
        // A thread has one event loop only.
        std::thread([&] {
            Recorded history(place + QStringLiteral("/history.db"), rhythm);
            history.Record(0, Values, kind);
        }).join();
        const double bytes = static_cast<double>(BytesBelow(place)) / Values;
        std::printf("  %-62s %10.0f GB (%.1f)\n", kind.Name, bytes * valuesAYear / 1e9, bytes);
        QDir(place).removeRecursively();
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption between(QStringLiteral("between"),
                                     QStringLiteral("Seconds between the values of an item."),
                                     QStringLiteral("SECONDS"), QStringLiteral("10"));
    parser.addOption(between);
    parser.process(application);
    Rhythm rhythm;
    rhythm.SecondsBetween = parser.value(between).toDouble();
    const QTemporaryDir folder;
    PrintYears(folder.path(), rhythm);
    return 0;
}
