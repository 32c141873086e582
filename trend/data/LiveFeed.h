#pragma once

#include "trend/data/Watched.h"
#include "velsqllib/RemoteLibrary.h"

#include <QTimer>

#include <map>

using MakeLibrary = std::function<std::unique_ptr<RemoteLibrary>()>;

/// Watches items on the server; works on a thread of its own, because calls wait. Changes come by events, and are read
/// together; all items are also looked at each second, because not every item raises events.
class LiveFeed : public QObject
{
    Q_OBJECT

public:
    explicit LiveFeed(MakeLibrary make);
    ~LiveFeed() override;

    /// Attaches to the server, or starts it.
    void Open();
    /// Exactly these items from now on.
    void Watch(const QStringList& items);

Q_SIGNALS:
    /// At most about twenty times a second.
    void Heard(const QList<LiveNews>& news);
    /// Empty: the server is there.
    void AbsenceChanged(const QString& absence);

private:
    class Subscription;

    void Attach(bool mayStart);
    void NotePresence();
    void LookAtAll();
    void LookOften();
    void FindItems();
    bool Find(Watched& watched);
    void Subscribe(const WatchedRef& watched);
    void DropClosed();
    void NoteChange(const WatchedRef& watched);
    void ReadChanged();
    void ReadItems(const QList<WatchedRef>& items);
    void Read(Watched& watched);
    void Tell(LiveNews news);
    void Fail(Watched& watched, const QString& why);

    MakeLibrary m_Make;
    std::unique_ptr<RemoteLibrary> m_Library;
    EngineRef m_Engine;
    std::map<QString, WatchedRef> m_Watched;                          ///< key: Name
    std::map<QString, std::unique_ptr<Subscription>> m_Subscriptions; ///< key: the controller's name
    std::size_t m_Unsought = 0;                                       ///< of this round
    QString m_Sought;                                                 ///< the one that was looked for last
    QList<WatchedRef> m_Changed;
    QList<LiveNews> m_News;
    Micros m_Zone = 0; ///< what is added to the server's local time to make it UTC
    bool m_IsAbsent = false;
    QTimer m_Retry;
    QTimer m_Look;
    QTimer m_LookOften;
    QTimer m_ReadSoon;
    QTimer m_TellSoon;
};
