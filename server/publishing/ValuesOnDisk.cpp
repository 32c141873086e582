#include "server/publishing/OutgoingValues.h"
#include "server/spool/WaitingValues.h"
#include "server/worker/Worker.h"

namespace {

class ValuesOnDisk : public OutgoingValues
{
public:
    ValuesOnDisk(const QString& name, const SpoolSettings& settings, const QString& destination)
        : m_Waiting(std::make_shared<WaitingValues>(name, settings, destination, Durability::Process))
    {
        m_Waiting->MakeShelter();
        m_Keeper.emplace([waiting = m_Waiting](const std::stop_token& stop) { waiting->Keep(stop, [] {}); });
    }

    void Add(RecordedValue value) override { m_Waiting->Add(std::move(value)); }

    SpoolBatch Next(const std::stop_token& stop) override
    {
        if (!std::exchange(m_HasTakenOver, true)) m_Waiting->OnDisk().TakeOver();
        return m_Waiting->Next(stop);
    }

    void Written(SpoolPosition position) override
    {
        m_Waiting->Written(position);
        m_Waiting->OnDisk().TakeEmptied(); // nobody else remembers them
    }

    DroppedValues TakeDropped() override { return m_Waiting->TakeDropped(); }

    quint64 Finish() override
    {
        m_Keeper.reset(); // puts what is left on disk
        return m_Waiting->CountInMemory();
    }

private:
    const std::shared_ptr<WaitingValues> m_Waiting;
    std::optional<Worker> m_Keeper;
    bool m_HasTakenOver = false; ///< what earlier servers have left
};

} // namespace

OutgoingValuesRef MakeValuesOnDisk(const QString& name, const SpoolSettings& settings, const QString& destination)
{
    return std::make_shared<ValuesOnDisk>(name, settings, destination);
}
