#include "core/ServerPresence.h"

#include <QPointer>

ServerPresence::ServerPresence(VelSQLLib& library)
    : m_Library(library)
{
    library.OnServerChange([self = QPointer<ServerPresence>(this)] { // the library may last longer
        if (self) Q_EMIT self->Changed();
    });
}
