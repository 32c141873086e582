#pragma once

#include "server/sources/Source.h"
#include "tests/simulation/SimulatedPeer.h"

#include <kj/async.h>
#include <kj/timer.h>

#include <deque>

/// A device on the server's own loop: it answers one thing after the other, soon, late, wrongly or not at all. A
/// variable has another value at each reading, unless one has been written to it.
class SimulatedDevice final : public Source, private kj::TaskSet::ErrorHandler
{
public:
    SimulatedDevice(kj::Timer& timer, Random& random, Trace& trace);
    ~SimulatedDevice() noexcept override;

    void SetMood(Mood mood);
    void SetConnected(bool isConnected) { SetReachable(isConnected); }
    /// Without being asked it tells the value of one of its variables, or that there is none.
    void Tell();
    /// What it has not answered.
    std::size_t UnderWay() const { return m_Jobs.size(); }
    /// A client asks for a reading, whether it has been asked already or not; scans leave out what was asked.
    void NoteAsked() { ++m_MayAsk; }

    SourceVariableRef Bind(const VariableText& text) override;
    void Read(std::vector<SourceVariable*> variables, std::function<void()> done) override;
    void Write(SourceVariable& variable, const Variant& value, Written written) override;
    QString Describe() const override { return QStringLiteral("simulated"); }

private:
    class Variable;
    struct Job
    {
        std::vector<Variable*> Variables = {}; ///< null where one has been given up
        std::function<void()> Done = {};       ///< of a reading
        Variant Value = {};                    ///< of a writing
        Source::Written Written = {};
    };

    void Add(Job job);
    qint32 Step();
    void Forget(Variable& variable);
    kj::Promise<void> Work();
    void Finish(Job job);
    void taskFailed(kj::Exception&& exception) override;

    kj::Timer& m_Timer;
    Random& m_Random;
    Trace& m_Trace;
    Mood m_Mood = Mood::Prompt;
    std::deque<Job> m_Jobs;
    std::vector<Variable*> m_Variables;
    bool m_IsWorking = false;
    int m_MayAsk = 0;
    int m_AskedAgain = 0;
    kj::TaskSet m_Tasks;
};
