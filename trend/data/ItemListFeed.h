#pragma once

#include "trend/data/LiveFeed.h"

/// Asks the server for the names of all its items; works on a thread of its own, because calls wait.
class ItemListFeed : public QObject
{
    Q_OBJECT

public:
    explicit ItemListFeed(MakeLibrary make)
        : m_Make(std::move(make))
    {
    }

    void List();

Q_SIGNALS:
    /// The items of one controller, as "PLC1\Level".
    void Listed(const QStringList& items);
    /// There are no more; `trouble` says why, when it is not empty.
    void Finished(const QString& trouble);

private:
    MakeLibrary m_Make;
};
