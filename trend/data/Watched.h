#pragma once

#include "core/automation/ServerObjects.h"
#include "trend/data/LiveNews.h"

#include <memory>

/// An item that is watched, and what was last read of it. An event says only that the item has changed, and what is read
/// then may be a later value: by counting both it is known when values were missed.
class Watched
{
public:
    explicit Watched(QString name)
        : Name(std::move(name))
    {
    }

    void NoteEvent();
    /// The next reading is as if it were the first.
    void Forget() { m_IsFirst = true; }
    /// Its events cannot be had.
    void BeSilent() { m_IsSilent = true; }
    /// Whether it changes without events, and so is to be looked at often.
    bool IsSilent() const { return m_IsSilent; }
    /// The calls that Read makes.
    static void ForeseeRead(VelSQLItem& item);
    /// Nothing if all is known already. `zone` makes the server's local time UTC. Throws ServerError.
    std::optional<LiveNews> Read(Micros zone);

    const QString Name;
    QString Controller; ///< of the item that has been found
    ItemRef Item;
    QString Note;           ///< why it has no value, as it was told
    bool IsChanged = false; ///< is to be read

private:
    bool TakeMissed(bool isNew);

    Micros m_Time = 0;
    Micros m_Earlier = 0; ///< of the value before
    Variant m_Value;
    qint32 m_State = -1;
    int m_Unread = 0; ///< events for which no value has been read; negative: a value was read before its event came
    bool m_IsFirst = true;
    bool m_HasEvents = false; ///< one has come
    bool m_IsSilent = false;
    bool m_KnowsUnit = false;
};

using WatchedRef = std::shared_ptr<Watched>;
