#include "remote/PrivateSocket.h"

#include "core/automation/Errors.h"

#include <QDir>

#include <sys/socket.h>

namespace {

QString FolderTemplate()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return (runtime.isEmpty() ? QDir::tempPath() : runtime) + QStringLiteral("/velsqlremote-XXXXXX");
}

} // namespace

PrivateSocket::PrivateSocket()
    : m_Folder(FolderTemplate())
{
    if (!m_Folder.isValid())
        throw DescribedError(QStringLiteral("No folder could be made: %1").arg(m_Folder.errorString()));
}

void PrivateSocket::Listen(bool listen)
{
    if (listen ? IsThere() : !m_Socket) return;
    m_Incoming.reset();
    m_Socket.reset();
    if (!listen) return;
    m_Socket.emplace(Path());
    m_Incoming.emplace(m_Socket->Descriptor(), QSocketNotifier::Read);
    connect(&*m_Incoming, &QSocketNotifier::activated, this, &PrivateSocket::Accept);
}

bool PrivateSocket::IsThere() const
{
    return m_Socket && QFile::exists(Path());
}

void PrivateSocket::Accept()
{
    Descriptor socket(accept4(m_Socket->Descriptor(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (socket.IsOpen() && IsSameUser(socket.Number())) Q_EMIT Connected(socket.Release());
}
