#include "server/database/SqlValue.h"
#include "server/publishing/OutgoingValues.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace {

constexpr std::size_t LargestBatch = 1000;
constexpr qint64 MostBytes = 64 * 1024 * 1024;

qint64 BytesOf(const RecordedValue& value)
{
    return qint64{sizeof(RecordedValue)} + SizeOf(value.Value);
}

class ValuesInMemory : public OutgoingValues
{
public:
    explicit ValuesInMemory(std::size_t most)
        : m_Most(most)
    {
    }

    void Add(RecordedValue value) override
    {
        const std::lock_guard lock(m_Guard);
        m_Bytes += BytesOf(value);
        m_Values.push_back(std::move(value));
        while (m_Values.size() > m_Most || (m_Bytes > MostBytes && m_Values.size() > 1)) Drop();
        if (m_Values.size() == 1) m_Filled.notify_all();
    }

    SpoolBatch Next(const std::stop_token& stop) override
    {
        std::unique_lock lock(m_Guard);
        m_Filled.wait(lock, stop, [this] { return !m_Values.empty(); });
        const auto count = static_cast<std::ptrdiff_t>(std::min(m_Values.size(), LargestBatch));
        m_Taken = m_First + static_cast<quint64>(count) - 1;
        return {0, m_First, {m_Values.begin(), m_Values.begin() + count}};
    }

    void Written(SpoolPosition position) override
    {
        const std::lock_guard lock(m_Guard);
        m_Written = position.Sequence;
        while (!m_Values.empty() && m_First <= m_Written) RemoveFront();
    }

    DroppedValues TakeDropped() override
    {
        const std::lock_guard lock(m_Guard);
        return std::exchange(m_Dropped, {});
    }

    quint64 Finish() override
    {
        const std::lock_guard lock(m_Guard);
        return m_First + m_Values.size() - 1 - m_Written;
    }

private:
    /// What is being sent is not lost.
    void Drop()
    {
        const qint64 time = MicrosecondsSince1970(m_Values.front().Time);
        if (m_First > m_Taken) m_Dropped.Add(1, time, time);
        RemoveFront();
    }

    void RemoveFront()
    {
        m_Bytes -= BytesOf(m_Values.front());
        m_Values.pop_front();
        ++m_First;
    }

    const std::size_t m_Most;
    std::mutex m_Guard;
    std::condition_variable_any m_Filled;
    std::deque<RecordedValue> m_Values;
    quint64 m_First = 1; ///< sequence of the first of m_Values
    quint64 m_Taken = 0; ///< up to there they are being sent
    quint64 m_Written = 0;
    qint64 m_Bytes = 0;
    DroppedValues m_Dropped;
};

} // namespace

OutgoingValuesRef MakeValuesInMemory(std::size_t most)
{
    return std::make_shared<ValuesInMemory>(most);
}
