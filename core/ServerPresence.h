#pragma once

#include "core/automation/ServerObjects.h"

#include <QObject>

/// Lets all that shows the server's data know whether the server is there; the library itself tells one listener only.
class ServerPresence : public QObject
{
    Q_OBJECT

public:
    explicit ServerPresence(VelSQLLib& library);

    /// See VelSQLLib.
    QString Absence() const { return m_Library.Absence(); }

Q_SIGNALS:
    /// Comes between other events; calls may be made.
    void Changed();

private:
    VelSQLLib& m_Library;
};
