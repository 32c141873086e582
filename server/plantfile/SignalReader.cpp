#include "server/plantfile/SignalReader.h"

#include "core/automation/Errors.h"
#include "server/plantfile/ReplayFile.h"

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

SignalRef ReadConstant(FileTable& table, VarType type)
{
    const Variant value = table.Value("value");
    try {
        return std::make_unique<ConstantSignal>(ConvertTo(value, type));
    } catch (const ValueError& error) {
        table.Refuse("value", error.Description());
        return nullptr;
    }
}

SignalRef ReadCounter(FileTable& table, const Share& share)
{
    const double first = table.Number("first", 0.0);
    const double last = table.Number("last", 2147483647.0);
    const double step = table.Number("step", 1.0);
    return std::make_unique<CounterSignal>(first, last, step, share.Index);
}

SignalRef ReadWave(FileTable& table, Form form, const Share& share)
{
    Wave wave;
    wave.Low = table.Number("low", 0.0);
    wave.High = table.Number("high", 1.0);
    wave.Period = Positive(table, "period", 10.0);
    wave.Phase = table.Number("phase", 0.0) + static_cast<double>(share.Index) / share.Count;
    const auto waveForm = form == Ramp ? WaveForm::Ramp : form == Sine ? WaveForm::Sine : WaveForm::Square;
    return std::make_unique<PeriodicSignal>(waveForm, wave);
}

SignalRef ReadRandom(FileTable& table, const Share& share)
{
    const double low = table.Number("low", 0.0);
    const double high = table.Number("high", 1.0);
    const double step = Positive(table, "step", 0.1);
    const auto seed = static_cast<quint32>(table.Integer("seed", 0, 2147483647, 1) + share.Index);
    if (low < high) return std::make_unique<RandomWalkSignal>(low, high, step, seed);
    table.Refuse("high", QStringLiteral("it must be more than low"));
    return nullptr;
}

SignalRef ReadReplay(FileTable& table, VarType type, const QString& folder)
{
    const QString path = QDir(folder).absoluteFilePath(table.Name("file"));
    const bool repeats = table.Flag("repeat", true);
    try {
        return std::make_unique<ReplaySignal>(ReadReplayFile(path, type), repeats);
    } catch (const DescribedError& error) {
        table.Refuse("file", error.Description());
        return nullptr;
    }
}

SignalRef ReadScalarSignal(FileTable& table, Form form, const Share& share)
{
    switch (form) {
    case Counter: return ReadCounter(table, share);
    case Random: return ReadRandom(table, share);
    case Clock: return std::make_unique<ClockSignal>();
    default: return ReadWave(table, form, share);
    }
}

SignalRef ReadArraySignal(FileTable& table, Form form)
{
    const int count = table.Integer("elements", 1, MostElements, 3);
    std::vector<SignalRef> elements;
    for (int i = 0; i < count; ++i) {
        SignalRef element = ReadScalarSignal(table, form, {i, count});
        if (!element) return nullptr; // the mistake is the same for all
        elements.push_back(std::move(element));
    }
    return std::make_unique<ArraySignal>(std::move(elements));
}

} // namespace

SignalRef ReadSignal(FileTable table, VarType type, const QString& folder)
{
    const auto form = static_cast<Form>(table.Choice("form", s_Forms, Constant));
    SignalRef signal;
    if (form == Constant) signal = ReadConstant(table, type);
    else if (form == Replay) signal = ReadReplay(table, type, folder);
    else if (type & VT_ARRAY) signal = ReadArraySignal(table, form);
    else signal = ReadScalarSignal(table, form, {});
    table.RefuseOthers();
    return signal;
}
