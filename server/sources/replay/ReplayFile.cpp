#include "server/sources/replay/ReplayFile.h"

#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "server/sources/replay/DataFile.h"
#include "velsqllib/DateText.h"

#include <cmath>

namespace {

constexpr std::size_t MostRows = 1'000'000;
constexpr double SecondsADay = 86'400.0;

/// Seconds from any fixed point.
double ReadTime(QStringView text)
{
    if (const auto seconds = ParseNumber(text); seconds && std::isfinite(*seconds)) return *seconds;
    return ReadDate(text).Days * SecondsADay;
}

ReplayedValue ReadRow(QStringView line, VarType type)
{
    const qsizetype comma = line.indexOf(u',');
    if (comma < 0) throw DescribedError(QStringLiteral("a time stamp, a comma and a value must stand here"));
    QString text = line.sliced(comma + 1).toString();
    const bool isQuoted = text.size() >= 2 && text.startsWith(u'"') && text.endsWith(u'"');
    if (isQuoted) text = text.sliced(1, text.size() - 2).replace(QStringLiteral("\"\""), QStringLiteral("\""));
    return {ReadTime(line.left(comma)), ConvertTo(text, type)};
}

} // namespace

std::vector<ReplayedValue> ReadReplayFile(const QString& path, VarType type)
{
    const auto file = OpenDataFile(path);
    std::vector<ReplayedValue> rows;
    for (int number = 1; !file->atEnd(); ++number) {
        const QString line = QString::fromUtf8(file->readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(u'#')) continue;
        try {
            rows.push_back(ReadRow(line, type));
            if (rows.size() > MostRows)
                throw DescribedError(QStringLiteral("there are more than %1 values").arg(MostRows));
            if (rows.size() > 1 && rows.back().Seconds < rows[rows.size() - 2].Seconds)
                throw DescribedError(QStringLiteral("the time stamp is before the one above"));
        } catch (const DescribedError& error) {
            throw DescribedError(QStringLiteral("%1:%2: %3").arg(path, QString::number(number), error.Description()));
        }
    }
    if (rows.empty()) throw DescribedError(QStringLiteral("%1 holds no values").arg(path));
    return rows;
}
