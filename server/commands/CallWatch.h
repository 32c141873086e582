#pragma once

#include "core/automation/VarType.h"
#include "server/rpc/CallGate.h"

#include <kj/timer.h>
#include <QHash>

/// Watches calls for tests: records them, and makes chosen operations fail or slow.
class CallWatch : public CallGate
{
public:
    /// The most calls that are recorded between two reports; a report says when there were more.
    static constexpr qsizetype MostNoted = 10'000;

    explicit CallWatch(kj::Timer& timer);

    /// `operation` is "<object>.<operation>", such as "Item(PLC1\D100).get_Value"; an object without parentheses means
    /// all objects of its kind. Throws DescribedError when there is no such operation.
    void MakeFail(const QString& operation, const QString& description);
    void MakeSlow(const QString& operation, qint32 milliseconds);
    void Restore(const QString& operation);
    void RestoreAll();

    /// The calls since the last report, one per line, with the type codes of their arguments. The first report starts
    /// the recording.
    QString ReportCalls();

    kj::Promise<void> Pass(const CalledObject& object, capnp::InterfaceSchema::Method method, Context context) override;

private:
    struct Disturbance
    {
        bool Fails = false;
        QString Description;
        qint32 Milliseconds = 0;
    };

    void Disturb(const QString& operation, const Disturbance& disturbance);
    void Note(const CalledObject& object, capnp::InterfaceSchema::Method method, Context context);
    void UpdateWatched();

    kj::Timer& m_Timer;
    QHash<QString, Disturbance> m_Disturbances;
    bool m_Notes = false;
    QStringList m_Calls;
    qsizetype m_NotNoted = 0;
};
