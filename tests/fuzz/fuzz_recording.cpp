// A CSV file of recorded values, after a byte that picks their type. What is taken is in the order of its times, is
// replayed as it stands there, and reads the same when it is written again.
#include "core/automation/Errors.h"
#include "core/automation/NumberText.h"
#include "server/sources/replay/ReplayFile.h"
#include "tests/fuzz/Fuzz.h"
#include "velsqllib/ValueText.h"

#include <algorithm>

namespace {

constexpr VarType Types[] = {VT_VARIANT, VT_BOOL, VT_I2,   VT_UI1,  VT_I4,          VT_UI4,          VT_R4,
                             VT_R8,      VT_CY,   VT_DATE, VT_BSTR, ArrayOf(VT_I4), ArrayOf(VT_BSTR)};

QByteArray Written(const std::vector<ReplayedValue>& values)
{
    QString text;
    for (const auto& [seconds, value] : values) {
        const QString cell = WriteValueText(value).replace(u'"', QStringLiteral("\"\""));
        text += FormatDouble(seconds) + QStringLiteral(",\"") + cell + QStringLiteral("\"\n");
    }
    return text.toUtf8();
}

/// A signal begins with the first time that there is.
void Replay(const std::vector<ReplayedValue>& values, VarType type)
{
    const auto isLater = [&](const ReplayedValue& value) { return value.Seconds > values.front().Seconds; };
    const Variant& first = std::prev(std::find_if(values.begin(), values.end(), isLater))->Value;
    for (const bool repeats : {false, true}) {
        ReplaySignal signal(values, repeats);
        Require(signal.Next(0, type) == first);
        for (const double seconds : {0.5, 3.0, 1e4, 1e12}) signal.Next(seconds, type);
    }
}

void WriteAndRead(const std::vector<ReplayedValue>& values, VarType type, const InputFile& file)
{
    file.Set(Written(values));
    const std::vector<ReplayedValue> again = ReadReplayFile(file.Path(), type);
    Require(again.size() == values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        Require(again[i].Seconds == values[i].Seconds && again[i].Value == values[i].Value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static const InputFile file;
    if (size == 0) return 0;
    const VarType type = Types[bytes[0] % std::size(Types)];
    file.Set(BytesOf(bytes + 1, size - 1));
    std::vector<ReplayedValue> values;
    try {
        values = ReadReplayFile(file.Path(), type);
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
        return 0;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        Require(i == 0 || values[i - 1].Seconds <= values[i].Seconds);
        Require(type == VT_VARIANT || values[i].Value.Type() == type);
    }
    Replay(values, type);
    WriteAndRead(values, type, file);
    return 0;
}
