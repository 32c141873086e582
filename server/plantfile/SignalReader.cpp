#include "server/plantfile/SignalReader.h"

#include "core/automation/Errors.h"
#include "server/sources/replay/ReplayFile.h"
#include "velsqllib/TypeCode.h"

#include <cmath>
#include <QDir>

namespace {

constexpr qint32 MostElements = 1'000'000;
const QStringList s_Forms = {QStringLiteral("constant"), QStringLiteral("counter"), QStringLiteral("ramp"),
                             QStringLiteral("sine"),     QStringLiteral("square"),  QStringLiteral("random"),
                             QStringLiteral("replay"),   QStringLiteral("clock")};
enum Form
{
    Constant,
    Counter,
    Ramp,
    Sine,
    Square,
    Random,
    Replay,
    Clock
};

/// One element of how many, so that the elements of an array differ.
struct Share
{
    int Index = 0;
    int Count = 1;
};

double Positive(FileTable& table, const char* key, double fallback)
{
    const double number = table.Number(key, fallback);
    if (number > 0.0 && std::isfinite(number)) return number;
    table.Refuse(key, QStringLiteral("it must be more than 0"));
    return fallback;
}

/// Whether some of the numbers from `low` to `high` are within the range of `type`; notes it when none is.
bool Fits(FileTable& table, double low, double high, VarType type)
{
    if (type == VT_BOOL || type == VT_BSTR || type == VT_VARIANT) return true; // these take every number
    const double slack = 0.5 + 1e-6 * std::abs(high);
    const bool isBelow = ToNumber(ClampTo(high, type)) > high + slack;
    const bool isAbove = ToNumber(ClampTo(low, type)) < low - slack;
    if (isBelow || isAbove) table.Refuse("form", QStringLiteral("its values never fit %1").arg(TypeName(type)));
    return !isBelow && !isAbove;
}

SignalRef ReadConstant(FileTable& table, VarType type)
{
    const Variant value = table.Value("value", type != VT_VARIANT);
    if (!table.Has("value")) {
        table.RefuseMissing("value");
        return nullptr;
    }
    try {
        return std::make_unique<ConstantSignal>(ConvertTo(value, type));
    } catch (const ValueError& error) {
        table.Refuse("value", error.Description());
        return nullptr;
    }
}

SignalRef ReadCounter(FileTable& table, VarType type, const Share& share)
{
    const double first = table.Number("first", 0.0);
    const double last = table.Number("last", 2147483647.0);
    const double step = table.Number("step", 1.0);
    if (!table.AreNumbers({"first", "last", "step"})) return nullptr;
    const bool goesUp = step >= 0.0;
    if (goesUp ? last < first : last > first) {
        table.Refuse("last", goesUp ? QStringLiteral("it is below first")
                                    : QStringLiteral("it is above first, but step goes down"));
        return nullptr;
    }
    if (!Fits(table, std::min(first, last), std::max(first, last), type)) return nullptr;
    return std::make_unique<CounterSignal>(first, last, step, share.Index);
}

SignalRef ReadWave(FileTable& table, Form form, VarType type, const Share& share)
{
    Wave wave;
    wave.Low = table.Number("low", 0.0);
    wave.High = table.Number("high", 1.0);
    wave.Period = Positive(table, "period", 10.0);
    wave.Phase = table.Number("phase", 0.0) + static_cast<double>(share.Index) / share.Count;
    if (!table.AreNumbers({"low", "high", "period", "phase"})) return nullptr;
    if (!Fits(table, std::min(wave.Low, wave.High), std::max(wave.Low, wave.High), type)) return nullptr;
    const auto waveForm = form == Ramp ? WaveForm::Ramp : form == Sine ? WaveForm::Sine : WaveForm::Square;
    return std::make_unique<PeriodicSignal>(waveForm, wave);
}

SignalRef ReadRandom(FileTable& table, VarType type, const Share& share)
{
    const double low = table.Number("low", 0.0);
    const double high = table.Number("high", 1.0);
    const double step = Positive(table, "step", 0.1);
    const auto seed = static_cast<quint32>(table.Integer("seed", 0, 2147483647, 1)) + static_cast<quint32>(share.Index);
    if (!table.AreNumbers({"low", "high", "step", "seed"})) return nullptr;
    if (low >= high) {
        table.Refuse("high", QStringLiteral("it must be more than low"));
        return nullptr;
    }
    if (!Fits(table, low, high, type)) return nullptr;
    return std::make_unique<RandomWalkSignal>(low, high, step, seed);
}

SignalRef ReadClock(FileTable& table, VarType type)
{
    try {
        auto clock = std::make_unique<ClockSignal>();
        clock->Next(0.0, type);
        return clock;
    } catch (const ValueError&) {
        table.Refuse("form", QStringLiteral("the time never fits %1").arg(TypeName(type)));
        return nullptr;
    }
}

SignalRef ReadReplay(FileTable& table, VarType type, const QString& folder)
{
    const QString file = table.Name("file");
    const bool repeats = table.Flag("repeat", true);
    if (file.isEmpty()) return nullptr;
    const QString path = QDir(folder).absoluteFilePath(file);
    try {
        return std::make_unique<ReplaySignal>(ReadReplayFile(path, type), repeats);
    } catch (const DescribedError& error) {
        table.Refuse("file", error.Description());
        return nullptr;
    }
}

SignalRef ReadScalarSignal(FileTable& table, Form form, VarType type, const Share& share)
{
    switch (form) {
    case Counter: return ReadCounter(table, type, share);
    case Random: return ReadRandom(table, type, share);
    case Clock: return ReadClock(table, type);
    default: return ReadWave(table, form, type, share);
    }
}

SignalRef ReadArraySignal(FileTable& table, Form form, VarType type)
{
    const int count = table.Integer("elements", 1, MostElements, 3);
    std::vector<SignalRef> elements;
    for (int i = 0; i < count; ++i) {
        SignalRef element = ReadScalarSignal(table, form, ElementOf(type), {i, count});
        if (!element) return nullptr; // the mistake is the same for all
        elements.push_back(std::move(element));
    }
    return std::make_unique<ArraySignal>(std::move(elements));
}

SignalRef MakeSignal(FileTable& table, Form form, VarType type, const QString& folder)
{
    if (form == Constant) return ReadConstant(table, type);
    if (form == Replay) return ReadReplay(table, type, folder);
    return type & VT_ARRAY ? ReadArraySignal(table, form, type) : ReadScalarSignal(table, form, type, {});
}

} // namespace

SignalRef ReadSignal(FileTable table, VarType type, const QString& folder)
{
    const auto form = static_cast<Form>(table.Choice("form", s_Forms, Constant));
    if (table.Has("form") && table.Text("form") != s_Forms[form]) return nullptr; // what belongs to it cannot be known
    SignalRef signal = MakeSignal(table, form, type, folder);
    table.RefuseOthers();
    return signal;
}

QSet<QString> SignalKeys()
{
    Mistakes unsaid{QString()};
    const toml::table nothing;
    QSet<QString> keys = {QStringLiteral("form")};
    for (int form = Constant; form <= Clock; ++form) {
        FileTable table(nothing, unsaid);
        MakeSignal(table, static_cast<Form>(form), ArrayOf(VT_R8), QString());
        for (const char* key : table.Known()) keys.insert(QString::fromUtf8(key));
    }
    return keys;
}
