#include "server/spool/ValueInbox.h"

#include "server/database/SqlValue.h"

qint64 ValueInbox::Add(RecordedValue value)
{
    const qint64 bytes = BytesOf(value);
    if (!IsSheltered(value)) m_HasExposed = true;
    const std::lock_guard lock(m_Guard);
    m_Values.List.push_back(std::move(value));
    m_Values.Bytes += bytes;
    if (++m_Added >= m_WaitedFor) {
        m_WaitedFor = Nobody;
        m_HasCome.notify_all();
    }
    return m_Values.Bytes;
}

bool ValueInbox::IsSheltered(const RecordedValue& value)
{
    SharedTail* tail = m_Tail;
    try {
        return tail && tail->Add(m_Added + 1, value);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void ValueInbox::Shelter(std::unique_ptr<SharedTail> tail)
{
    m_OwnTail = std::move(tail);
    m_Tail = m_OwnTail.get();
}

void ValueInbox::NoteSafe(quint64 sequence)
{
    if (SharedTail* tail = m_Tail) tail->NoteSafe(sequence);
}

ValueInbox::Values ValueInbox::Take()
{
    Values next;
    next.List.reserve(256);
    const std::lock_guard lock(m_Guard);
    std::swap(next, m_Values);
    return next;
}

void ValueInbox::WaitUntilAdded(quint64 count, const std::stop_token& stop, Clock::time_point end)
{
    const auto isThere = [&] {
        if (m_Added >= count) return true;
        m_WaitedFor = std::min(m_WaitedFor, count);
        return false;
    };
    std::unique_lock lock(m_Guard);
    if (end == Clock::time_point::max()) m_HasCome.wait(lock, stop, isThere);
    else m_HasCome.wait_until(lock, stop, end, isThere);
}

qint64 ValueInbox::BytesOf(const RecordedValue& value)
{
    return qint64{sizeof(RecordedValue)} + SizeOf(value.Value);
}
