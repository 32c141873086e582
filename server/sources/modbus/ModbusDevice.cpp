#include "server/sources/modbus/ModbusDevice.h"

#include "server/plant/Convert.h"

namespace {

constexpr std::size_t MostGroups = 16;
constexpr std::size_t FetchedAhead = 4;

} // namespace

/// Carries what the line's threads tell to the loop, as long as the device is there.
class ModbusDevice::Outlet : public UnitListener, public std::enable_shared_from_this<Outlet>
{
public:
    explicit Outlet(ModbusDevice& device)
        : m_Device(&device)
    {
    }

    void Open(Loop& loop)
    {
        const std::lock_guard lock(m_Guard);
        m_Loop = &loop;
    }
    void Close()
    {
        const std::lock_guard lock(m_Guard);
        m_Loop = nullptr;
        m_Device = nullptr;
    }

    void NoteRead(ReadResults results) override
    {
        Tell([results = std::move(results)](ModbusDevice& device) { device.Take(results); });
    }
    void NoteWritten(quint64 number, const QString& failure) override
    {
        Tell([number, failure](ModbusDevice& device) { device.EndWrite(number, failure); });
    }
    void NoteReachable(bool isReachable, const QString&) override
    {
        Tell([isReachable](ModbusDevice& device) { device.SetReachable(isReachable); });
    }

private:
    /// The device is known to the loop only, where it also goes.
    template <typename Action>
    void Tell(Action action)
    {
        const std::lock_guard lock(m_Guard);
        if (!m_Loop) return;
        m_Loop->Post([self = shared_from_this(), action = std::move(action)] {
            if (self->m_Device) action(*self->m_Device);
        });
    }

    std::mutex m_Guard;
    Loop* m_Loop = nullptr;
    ModbusDevice* m_Device;
};

ModbusDevice::ModbusDevice(QString protocol, UnitSettings settings, std::shared_ptr<Line> line)
    : Source(settings.Name)
    , m_Protocol(std::move(protocol))
    , m_Line(std::move(line))
    , m_Outlet(std::make_shared<Outlet>(*this))
    , m_Unit(std::make_shared<Unit>(std::move(settings), m_Outlet))
{
    m_Line->Add(m_Unit);
}

ModbusDevice::~ModbusDevice()
{
    m_Outlet->Close();
    m_Line->Remove(m_Unit);
}

void ModbusDevice::Start(Loop& loop)
{
    m_Loop = &loop;
    m_Outlet->Open(loop);
    for (const auto& other : m_Others) other->Start(loop); // of items that were there before
    m_Line->Start();
}

void ModbusDevice::NoteUsers()
{
    m_Line->With([&] {
        m_Unit->SetWanted(HasUsers());
        for (const auto& other : m_Others) other->m_Unit->SetWanted(HasUsers());
    });
}

ModbusDevice& ModbusDevice::Other(const QString& unit)
{
    bool isNumber = false;
    UnitSettings settings = m_Unit->Settings();
    const uint number = unit.toUInt(&isNumber);
    if (!isNumber || number > 255)
        throw VariableError(VariableError::Part::Unit, QStringLiteral("\"%1\" is not a unit from 0 to 255").arg(unit));
    if (number == settings.Number) return *this;
    const auto isIt = [&](const auto& other) { return other->m_Unit->Settings().Number == number; };
    const auto known = std::ranges::find_if(m_Others, isIt);
    if (known != m_Others.end()) return **known;
    settings.Number = static_cast<quint8>(number);
    settings.Name += QStringLiteral(" unit %1").arg(number);
    m_Others.push_back(std::make_unique<ModbusDevice>(m_Protocol, settings, m_Line));
    if (m_Loop) m_Others.back()->Start(*m_Loop);
    NoteUsers();
    return *m_Others.back();
}

SourceVariableRef ModbusDevice::Bind(const VariableText& text)
{
    const UnitSettings& unit = m_Unit->Settings();
    if (!text.Unit.isEmpty() && text.Unit != QString::number(unit.Number))
        return Other(text.Unit).Bind({text.Name, text.Option, text.Type});
    const Form form = ParseForm(text, unit.FirstAddress, unit.Bytes);
    m_Variables.push_back(nullptr);
    auto variable = std::make_unique<ModbusVariable>(*this, static_cast<quint32>(m_Variables.size() - 1), form);
    m_Variables.back() = variable.get();
    return variable;
}

/// The group of the same variables that was read before: its plan is made.
ReadGroupRef ModbusDevice::GroupOf(std::vector<SourceVariable*> variables)
{
    const auto known = std::ranges::find(m_Groups, variables, &KnownGroup::Variables);
    if (known != m_Groups.end()) {
        std::rotate(m_Groups.begin(), known, known + 1); // the one that has not been read for the longest time is last
        return m_Groups.front().Group;
    }
    auto group = std::make_shared<ReadGroup>();
    for (const SourceVariable* each : variables) {
        const auto& variable = static_cast<const ModbusVariable&>(*each);
        group->Numbers.push_back(variable.Number());
        group->Forms.push_back(variable.Where());
    }
    m_Groups.insert(m_Groups.begin(), {std::move(variables), group});
    if (m_Groups.size() > MostGroups) m_Groups.pop_back();
    return group;
}

void ModbusDevice::Read(std::vector<SourceVariable*> variables, std::function<void()> done)
{
    const ReadGroupRef group = GroupOf(std::move(variables));
    const quint64 number = ++m_LastNumber;
    m_Reading.insert(number, std::move(done));
    m_Line->With([&] { m_Unit->Add(number, group, Unit::Clock::now()); });
}

void ModbusDevice::Take(const ReadResults& results)
{
    const auto& values = results.Values;
    const auto variableAt = [&](std::size_t i) { return i < values.size() ? m_Variables[values[i].first] : nullptr; };
    for (std::size_t i = 0; i < values.size(); ++i) {
        // Variables lie anywhere in memory: the processor fetches those that come soon.
        __builtin_prefetch(variableAt(i + 2 * FetchedAhead));
        if (const ModbusVariable* next = variableAt(i + FetchedAhead)) next->PrefetchHolder();
        if (ModbusVariable* variable = variableAt(i)) variable->Answer(values[i].second, results.When);
    }
    for (const auto& [number, why] : results.Failures) {
        if (ModbusVariable* variable = m_Variables[number]) variable->Fail(why, results.When);
    }
    if (!results.IsOver) return;
    if (const auto done = m_Reading.take(results.Job)) done();
}

void ModbusDevice::Write(SourceVariable& variable, const Variant& value, Written written)
{
    const Form& form = static_cast<const ModbusVariable&>(variable).Where();
    if (!m_Unit->Settings().TakesWrites)
        throw DescribedError(QStringLiteral("the plant file does not allow writing to device \"%1\"").arg(Name()));
    if (form.Place == Area::Input || form.Place == Area::Discrete)
        throw DescribedError(QStringLiteral("inputs cannot be written"));
    const quint64 number = ++m_LastNumber;
    WriteJob job{number, form, Encode(form, value)};
    m_Writing.insert(number, std::move(written));
    m_Line->With([&] { m_Unit->Add(std::move(job), Unit::Clock::now()); });
}

void ModbusDevice::EndWrite(quint64 number, const QString& failure)
{
    if (const auto written = m_Writing.take(number)) written(failure);
}

void ModbusDevice::Forget(const ModbusVariable& variable)
{
    m_Variables[variable.Number()] = nullptr;
    const auto holds = [&](const KnownGroup& known) {
        return std::ranges::find(known.Variables, &variable) != known.Variables.end();
    };
    std::erase_if(m_Groups, holds); // another variable may come to lie there
}

std::optional<Source::Load> ModbusDevice::LoadOf(const std::vector<SourceVariable*>& variables) const
{
    std::vector<Form> forms;
    for (const SourceVariable* variable : variables)
        forms.push_back(static_cast<const ModbusVariable*>(variable)->Where());
    const ReadPlan plan = PlanReading(forms, m_Unit->Settings().Limits, {});
    return Load{m_Line->Settings().Place(), std::ssize(plan.Blocks)};
}

QString ModbusDevice::Describe() const
{
    QString text = m_Line->With([&] {
        const UnitCounts& counts = m_Unit->Counts();
        return QStringLiteral("%1: %2 %3 unit %4: %5; requests %6, silences %7, other failures %8, refused spans %9")
            .arg(Name(), m_Protocol, m_Line->Settings().Place(), QString::number(m_Unit->Settings().Number),
                 IsReachable() ? QStringLiteral("reachable") : m_Unit->Trouble(), QString::number(counts.Requests),
                 QString::number(counts.Silences), QString::number(counts.Others), QString::number(counts.Refused));
    });
    for (const auto& other : m_Others) text += QStringLiteral("\r\n") + other->Describe();
    return text;
}

ModbusVariable::ModbusVariable(ModbusDevice& device, quint32 number, const Form& form)
    : m_Device(device)
    , m_Number(number)
    , m_Form(form)
{
}

ModbusVariable::~ModbusVariable()
{
    m_Device.Forget(*this);
}
