#include "tests/simulation/SimulatedDevice.h"

#include "velsqllib/WireText.h"

class SimulatedDevice::Variable final : public SourceVariable
{
public:
    explicit Variable(SimulatedDevice& device)
        : m_Device(device)
    {
        m_Device.m_Variables.push_back(this);
    }
    ~Variable() override { m_Device.Forget(*this); }

    Source* Owner() const override { return &m_Device; }

    qint32 Count = 0;
    Variant Written;

private:
    SimulatedDevice& m_Device;
};

SimulatedDevice::SimulatedDevice(kj::Timer& timer, Random& random, Trace& trace)
    : Source(QStringLiteral("device"))
    , m_Timer(timer)
    , m_Random(random)
    , m_Trace(trace)
    , m_Tasks(*this)
{
}

SimulatedDevice::~SimulatedDevice() noexcept = default;

/// Always in the same direction: no value comes back.
qint32 SimulatedDevice::Step()
{
    return m_Random.Between(1, 3);
}

void SimulatedDevice::SetMood(Mood mood)
{
    m_Trace.Note(QStringLiteral("device: mood %1").arg(static_cast<int>(mood)));
    m_Mood = mood;
    if (!m_Jobs.empty() && !std::exchange(m_IsWorking, true)) m_Tasks.add(Work());
}

SourceVariableRef SimulatedDevice::Bind(const VariableText&)
{
    return std::make_unique<Variable>(*this);
}

void SimulatedDevice::Read(std::vector<SourceVariable*> variables, std::function<void()> done)
{
    const auto isAsked = [&](const Job& job) {
        return !job.Written && std::ranges::find(job.Variables, variables.front()) != job.Variables.end();
    };
    if (std::ranges::any_of(m_Jobs, isAsked)) ++m_AskedAgain;
    m_Trace.Require(m_AskedAgain <= m_MayAsk, QStringLiteral("a scan has asked what was asked already"));
    Job job{.Done = std::move(done)};
    for (SourceVariable* variable : variables) job.Variables.push_back(static_cast<Variable*>(variable));
    Add(std::move(job));
}

void SimulatedDevice::Write(SourceVariable& variable, const Variant& value, Written written)
{
    if (m_Random.OneIn(20)) throw DescribedError(QStringLiteral("the device cannot take it"));
    Add({.Variables = {static_cast<Variable*>(&variable)}, .Value = value, .Written = std::move(written)});
}

void SimulatedDevice::Add(Job job)
{
    m_Jobs.push_back(std::move(job));
    if (!std::exchange(m_IsWorking, true)) m_Tasks.add(Work());
}

void SimulatedDevice::Tell()
{
    Variable& variable = *m_Random.OneOf(m_Variables);
    const auto now = std::chrono::system_clock::now();
    if (m_Random.OneIn(4)) variable.Lose(QStringLiteral("it is silent"), now);
    else variable.Arrive(Variant(variable.Count += Step()), now);
}

void SimulatedDevice::Forget(Variable& variable)
{
    std::erase(m_Variables, &variable);
    for (Job& job : m_Jobs)
        for (Variable*& asked : job.Variables)
            if (asked == &variable) asked = nullptr;
}

kj::Promise<void> SimulatedDevice::Work()
{
    if (m_Jobs.empty() || m_Mood == Mood::Silent) {
        m_IsWorking = false;
        return kj::READY_NOW;
    }
    const int longest = m_Mood == Mood::Late ? 3000 : 15;
    return m_Timer.afterDelay(m_Random.Between(0, longest) * kj::MILLISECONDS).then([this] {
        if (m_Mood == Mood::Silent || m_Jobs.empty()) return Work();
        Job job = std::move(m_Jobs.front());
        m_Jobs.pop_front();
        Finish(std::move(job));
        return Work();
    });
}

void SimulatedDevice::Finish(Job job)
{
    const bool fails = m_Mood == Mood::Failing && !m_Random.OneIn(3);
    if (job.Written) {
        if (!fails && job.Variables[0]) job.Variables[0]->Written = job.Value;
        return job.Written(fails ? QStringLiteral("the device refuses it") : QString());
    }
    m_Jobs.push_front(std::move(job)); // where variables that are given up meanwhile are forgotten
    for (std::size_t i = 0; i < m_Jobs.front().Variables.size(); ++i) {
        Variable* const variable = m_Jobs.front().Variables[i];
        const auto now = std::chrono::system_clock::now();
        if (!variable) continue;
        if (fails) variable->Fail(QStringLiteral("no answer"), now);
        else if (m_Mood == Mood::Wrong) variable->Answer(Variant(QStringLiteral("rubbish")), now);
        else if (!variable->Written.IsEmpty()) variable->Answer(variable->Written, now);
        else variable->Answer(Variant(variable->Count += Step()), now);
    }
    const std::function<void()> done = std::move(m_Jobs.front().Done);
    m_Jobs.pop_front();
    done();
}

void SimulatedDevice::taskFailed(kj::Exception&& exception)
{
    m_Trace.Require(false, QStringLiteral("the device's work failed: ") + DescriptionOf(exception));
}
