#pragma once

#include "core/automation/Variant.h"
#include "server/history/Database.h"
#include "server/plant/Moment.h"

#include <span>

/// A change of an item as it is recorded.
struct RecordedValue
{
    QString Controller;
    QString Item;
    Variant Value;
    TimeStamp Time;
};

/// The history's table, on a database connection of its own: controller_name, item_name, item_value, item_time.
class HistoryTable
{
public:
    HistoryTable(const HistoryTable&) = delete;
    HistoryTable& operator=(const HistoryTable&) = delete;
    virtual ~HistoryTable() = default;

    /// Whether the database has been removed although the connection still works.
    virtual bool IsGone() const { return false; }
    /// Adds the values in one transaction and deletes the oldest beyond `maxRecord` (0: no limit). If it throws
    /// DatabaseError, nothing has changed.
    void Write(std::span<const RecordedValue> values, qint32 maxRecord);

protected:
    /// `name` may be "<schema>.<table>". Throws DescribedError when the database cannot be opened.
    HistoryTable(const DatabaseAddress& address, const QString& name);

    const DatabaseSession& Session() const { return m_Session; }
    /// The table's name in quotes.
    const QString& Name() const { return m_Name; }
    /// Local time with microseconds. The values of a scan share their time, so its text is made only once.
    const QString& Spell(TimeStamp time);

private:
    virtual void Insert(std::span<const RecordedValue> values) = 0;
    virtual void Trim(qint32 maxRecord) = 0;
    /// A write has failed and was rolled back.
    virtual void RolledBack() {}

    const DatabaseSession m_Session;
    const QString m_Name;
    TimeStamp m_Time;
    QString m_TimeText; ///< the text of m_Time; empty at first
    qint64 m_Second = 0;
    QString m_SecondText;
};
