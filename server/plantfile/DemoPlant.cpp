#include "server/plant/DemoPlant.h"

#include "core/automation/PlainText.h"
#include "core/automation/SafeArray.h"
#include "server/plant/DemoPicture.h"
#include "server/plant/Plant.h"
#include "velsqllib/TypeCode.h"

namespace {

/// Adds items to one controller, each in one line.
class Maker
{
public:
    explicit Maker(PlantController& controller)
        : m_Controller(controller)
    {
    }

    /// An item that holds what is written to it.
    void Holds(const QString& name, VarType type, const Variant& value, const QString& description)
    {
        m_Controller.Add(Traits(name, type, value, description));
    }
    void Moves(const QString& name, VarType type, SignalRef signal, const QString& description, int scanClass = 0)
    {
        ItemTraits traits = Traits(name, type, {}, description);
        traits.Attribute = Access::ReadOnly;
        traits.Historic = !(type & VT_ARRAY);
        traits.ScanClass = scanClass;
        m_Controller.Add(std::move(traits), std::move(signal));
    }
    void Links(const QString& name, VarType type, const QStringList& links, const QString& description)
    {
        ItemTraits traits = Traits(name, type, {}, description);
        traits.Links = links;
        m_Controller.Add(std::move(traits));
    }
    void Guarded(const QString& name, VarType type, const Variant& value, Access access, const QString& description)
    {
        ItemTraits traits = Traits(name, type, value, description);
        traits.Attribute = access;
        m_Controller.Add(std::move(traits));
    }

private:
    ItemTraits Traits(const QString& name, VarType type, const Variant& value, const QString& description)
    {
        ItemTraits traits;
        traits.Name = name;
        traits.Description = description;
        traits.Type = type;
        traits.Initial = value;
        traits.Tag = QStringLiteral("%1.%2").arg(m_Controller.Name(), name);
        traits.Id = static_cast<qint32>(1000 * (m_Controller.Index() + 1) + m_Controller.Items().size());
        traits.TakesEmpty = type == VT_VARIANT;
        traits.SettingData = {QStringLiteral("demo"), TypeName(type)};
        return traits;
    }

    PlantController& m_Controller;
};

SignalRef Counter(double last, double step = 1.0)
{
    return std::make_unique<CounterSignal>(0.0, last, step);
}

SignalRef Sine(double low, double high, double period, double phase = 0.0)
{
    return std::make_unique<PeriodicSignal>(WaveForm::Sine, Wave{low, high, period, phase});
}

SignalRef Curve(int count)
{
    std::vector<SignalRef> elements;
    for (int i = 0; i < count; ++i) elements.push_back(Sine(0.0, 100.0, 20.0, static_cast<double>(i) / count));
    return std::make_unique<ArraySignal>(std::move(elements));
}

template <typename T>
Variant ListOf(QList<T> elements)
{
    return SafeArray(std::move(elements));
}

Date DayOf(int year, int month, int day, int hour)
{
    return FromDateTime(QDateTime(QDate(year, month, day), QTime(hour, 0), Qt::UTC));
}

PlantController& AddController(Plant& plant, const QString& name, const QString& description,
                               std::array<qint32, 3> scanTimes)
{
    ControllerTraits traits;
    traits.Name = name;
    traits.Description = description;
    traits.ScanTimes = scanTimes;
    traits.SettingData = {QStringLiteral("demo"), QStringLiteral("built in")};
    traits.Tag = QStringLiteral("Demo plant");
    return *plant.Add(std::move(traits));
}

void AddProcess(Maker make)
{
    make.Holds(QStringLiteral("D100"), VT_I4, 25, QStringLiteral("Set point of the dosing pump, litres an hour"));
    make.Moves(QStringLiteral("Counter"), VT_I4, Counter(999'999.0), QStringLiteral("Bottles filled"));
    make.Moves(QStringLiteral("Level"), VT_R8, Sine(10.0, 90.0, 30.0), QStringLiteral("Tank level, percent"));
    make.Moves(QStringLiteral("Temperature"), VT_R4, std::make_unique<RandomWalkSignal>(15.0, 85.0, 0.5, 4711u),
               QStringLiteral("Tank temperature, degrees Celsius"));
    make.Moves(QStringLiteral("Pressure"), VT_I2, Sine(900.0, 1100.0, 12.0, 0.25), QStringLiteral("Millibar"), 1);
    make.Moves(QStringLiteral("Valve"), VT_BOOL,
               std::make_unique<PeriodicSignal>(WaveForm::Square, Wave{0.0, 1.0, 8.0, 0.0}),
               QStringLiteral("Inlet valve is open"));
    make.Holds(QStringLiteral("Pump"), VT_BOOL, false, QStringLiteral("Dosing pump is on"));
    make.Holds(QStringLiteral("Recipe"), VT_BSTR, QStringLiteral("Lemonade, light"), QStringLiteral("Running recipe"));
    make.Holds(QStringLiteral("Price"), VT_CY, Currency{12'5000}, QStringLiteral("Of 100 litres"));
    make.Holds(QStringLiteral("Shift start"), VT_DATE, DayOf(2024, 2, 29, 6), QString());
    make.Moves(QStringLiteral("Clock"), VT_DATE, std::make_unique<ClockSignal>(), QStringLiteral("Plant time"), 1);
    make.Guarded(QStringLiteral("Serial number"), VT_BSTR, QStringLiteral("MX-0815/7"), Access::ReadOnly,
                 QStringLiteral("Read only"));
    make.Guarded(QStringLiteral("Reset"), VT_BOOL, {}, Access::WriteOnly, QStringLiteral("Write only"));
    make.Links(QStringLiteral("Set point copy"), VT_I4, {QStringLiteral("D100")}, QStringLiteral("Linked to D100"));
    make.Holds(QStringLiteral("Picture"), ArrayOf(VT_UI1), ListOf(DrawDemoPicture()),
               QStringLiteral("Drawing of the tank, a BMP file"));
}

void AddArrays(Maker make)
{
    make.Holds(QStringLiteral("Flags"), ArrayOf(VT_BOOL), ListOf<bool>({true, false, true}),
               QStringLiteral("3 elements"));
    make.Holds(QStringLiteral("Bytes"), ArrayOf(VT_UI1), ListOf<quint8>({1, 2, 3, 4, 5, 6, 7, 8}),
               QStringLiteral("8 elements"));
    make.Holds(QStringLiteral("Words"), ArrayOf(VT_I2), ListOf<qint16>({-1, 0, 1, 2, 3, 4, 5, 6, 7}),
               QStringLiteral("9 elements"));
    make.Holds(QStringLiteral("Counts"), ArrayOf(VT_I4), ListOf<qint32>({10, 20, 30}), QStringLiteral("3 elements"));
    make.Holds(QStringLiteral("Doses"), ArrayOf(VT_R4), ListOf<float>({0.5f, 1.25f, 2.0f}),
               QStringLiteral("3 elements"));
    make.Moves(QStringLiteral("Curve"), ArrayOf(VT_R8), Curve(20), QStringLiteral("20 elements that move"));
    make.Holds(QStringLiteral("Prices"), ArrayOf(VT_CY), ListOf<Currency>({{9'9900}, {-1}, {0}}),
               QStringLiteral("3 elements"));
    make.Holds(QStringLiteral("Shifts"), ArrayOf(VT_DATE),
               ListOf<Date>({DayOf(2024, 3, 1, 6), DayOf(2024, 3, 1, 14), DayOf(2024, 3, 1, 22)}),
               QStringLiteral("3 elements"));
    make.Holds(
        QStringLiteral("Ingredients"), ArrayOf(VT_BSTR),
        ListOf<QString>({QStringLiteral("water"), QStringLiteral("sugar, white"), QStringLiteral("lemon \"A\"")}),
        QStringLiteral("3 elements, one with a comma"));
    make.Holds(QStringLiteral("Mixed"), ArrayOf(VT_VARIANT), ListOf<Variant>({25, QStringLiteral("text"), Null{}, 1.5}),
               QStringLiteral("4 elements of several types"));
    make.Holds(QStringLiteral("Nested"), ArrayOf(VT_VARIANT), ListOf<Variant>({1, ListOf<qint16>({2, 3}), Variant()}),
               QStringLiteral("An array in an array"));
}

void AddOddities(Maker make)
{
    make.Holds(QStringLiteral("Anything"), VT_VARIANT, Variant(), QStringLiteral("Takes every type"));
    make.Holds(QStringLiteral("Nothing"), VT_VARIANT, Null{}, QStringLiteral("Holds NULL"));
    make.Holds(QStringLiteral("Mode"), VT_UI1, quint8{3}, QString());
    make.Holds(QStringLiteral("Offset"), VT_I1, qint8{-7}, QStringLiteral("A type outside the console's list"));
    make.Holds(QStringLiteral("Raw"), VT_UI2, quint16{65'535}, QStringLiteral("A type outside the console's list"));
    make.Moves(QStringLiteral("Ticks"), VT_UI4, Counter(4'294'967'295.0, 1000.0),
               QStringLiteral("A type outside the console's list"), 1);
    make.Holds(QStringLiteral("Grenzwert <b>&oben</b>\\Süd °C"), VT_R8, 72.5,
               QStringLiteral("A name that must be shown as it is: <i>&amp;</i>"));
    make.Links(QStringLiteral("Level of PLC1"), VT_R8, {QStringLiteral("PLC1\\Level")},
               QStringLiteral("Linked to PLC1"));
}

} // namespace

void BuildDemoPlant(Plant& plant)
{
    PlantController& process =
        AddController(plant, QStringLiteral("PLC1"), QStringLiteral("Mixing station"), {100, 1000, 5000});
    PlantController& lab = AddController(plant, QStringLiteral("Lab <b>&Test</b>\\Nürnberg"),
                                         QStringLiteral("Values of unusual types & names"), {500, 1000, 5000});
    AddController(plant, QStringLiteral("Archive"), QStringLiteral("No items yet"), {1000, 1000, 1000});
    AddProcess(Maker(process));
    AddArrays(Maker(process));
    AddOddities(Maker(lab));
    ItemTraits reference;
    reference.Name = QStringLiteral("Reference");
    reference.Description = QStringLiteral("Holds an object: item D100 of PLC1");
    lab.Add(std::move(reference))->PutValue(ObjectRef(process.Find(QStringLiteral("D100"))));
}
