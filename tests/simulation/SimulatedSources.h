#pragma once

#include "server/plant/Plant.h"
#include "tests/simulation/SimulatedBroker.h"
#include "tests/simulation/SimulatedDevice.h"
#include "tests/simulation/SimulatedUnit.h"

/// Where the plant's values come from and go to: a device on the loop, a Modbus unit and a broker behind real sources,
/// to whose threads they answer.
class SimulatedSources
{
public:
    SimulatedSources(kj::Timer& timer, Random& random, Trace& trace);

    /// The controllers "Device", "Unit" and "Broker"; what changes in "Own" and "Rhythm" is published.
    void AddTo(Plant& plant, const QString& folder);

    SimulatedDevice& Device() const { return *m_Device; }
    void NoteRecorded(const PlantItem& item, const ItemReading& reading);
    /// Requires that an item's register has had that value, at any time.
    void CheckHad(const QString& item, const Variant& value) const;
    /// A delayed writing was accepted: in the end it has been done, or somebody was warned.
    void NoteDelayed(const QString& item, const Variant& value) { m_Delayed.append({item, value}); }
    void NoteWarning(const QString& text) { m_Warnings.append(text); }
    /// Requires that controllers whose devices cannot be reached say so, and others do not.
    void CheckStates(const Plant& plant) const;

    /// One of them is in one of all moods from now on.
    void ChangeMood();
    /// One of them can be reached, or no longer.
    void ChangeReach();
    /// One of them tells something of itself.
    void Tell();

    /// Nothing hinders anybody any more.
    void ComeToRest();
    /// Connections are lost; when there are others, what the sources know of the past no longer counts.
    void SetReachable(bool isReachable);
    /// Requires that no value of theirs is taken for present.
    void CheckLost(const Plant& plant) const;
    /// Requires that the items have what the sources have, and the broker all that was to be published, in order.
    void Check(const Plant& plant) const;

private:
    class Changes;
    /// What was heard of an item, and what was recorded.
    struct Told
    {
        QList<ItemReading> Changes, Recorded;
    };

    static QByteArray TopicOf(int number) { return "plant/b" + QByteArray::number(number); }
    SimulatedPeer& AnyPeer();
    void CheckPublished() const;
    void CheckExceptions(const QString& item, const Told& told) const;

    Random& m_Random;
    Trace& m_Trace;
    SimulatedUnit m_Unit;
    SimulatedBroker m_Broker;
    std::shared_ptr<SimulatedDevice> m_Device;
    std::shared_ptr<Changes> m_Changes;
    std::map<QString, Told> m_Told;
    QList<std::pair<QString, Variant>> m_Delayed;
    QStringList m_Warnings;
};
