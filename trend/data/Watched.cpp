#include "trend/data/Watched.h"

#include <algorithm>
#include <utility>

void Watched::NoteEvent()
{
    m_HasEvents = true;
    m_IsSilent = false;
    ++m_Unread;
}

void Watched::ForeseeRead(VelSQLItem& item)
{
    item.get_Value();
    item.get_State();
    item.get_DateTime();
    item.get_Microsecond();
}

std::optional<LiveNews> Watched::Read(Micros zone)
{
    const Variant value = Item->get_Value();
    const qint32 state = Item->get_State();
    const Variant date = Item->get_DateTime();
    const qint32 fraction = Item->get_Microsecond();
    LiveNews news{.Item = Name, .IsFirst = m_IsFirst};
    if (const Date* local = date.GetIf<Date>()) news.Time = AsIfUtc(*local) + zone + fraction;
    if (!std::exchange(m_KnowsUnit, true)) news.Unit = UnitOf(Item->get_Tag(), Name);
    const bool isOther = value != m_Value;
    const bool isNew = m_IsFirst || news.Time != m_Time || state != m_State || isOther;
    if (!m_IsFirst && !m_HasEvents && isOther) m_IsSilent = true;
    const bool hasMissed = TakeMissed(isNew) && !m_IsFirst;
    if (hasMissed) news.MissedSince = m_Earlier;
    if (!isNew && !hasMissed) return std::nullopt;
    if (isNew) m_Earlier = std::exchange(m_Time, news.Time);
    if (std::exchange(m_IsFirst, false)) m_Earlier = m_Time;
    m_Value = value;
    m_State = state;
    Note.clear();
    news.Value = ReadingOf(value);
    news.State = state == 0 ? PenState::Good : state == 1 ? PenState::Failed : PenState::Undefined;
    return news;
}

/// Whether there were more values than have been read. Of an item without events nobody can tell.
bool Watched::TakeMissed(bool isNew)
{
    if (isNew) --m_Unread;
    const bool hasMissed = m_Unread > 0 || (isNew && m_IsSilent);
    m_Unread = std::clamp(m_Unread, -1, 0);
    return hasMissed;
}
