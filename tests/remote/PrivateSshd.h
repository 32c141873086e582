#pragma once

#include <QTemporaryDir>

/// "Another machine": an sshd of our own for each connection, with keys, configuration and user folders of its own, and
/// an ssh on the path that knows it as the host "plant", and with another key as "changed". Its user's plant has the
/// controller "Kiln" with the item "Heat". Neither the system's service nor the user's ~/.ssh is touched.
class PrivateSshd
{
public:
    PrivateSshd();
    /// Ends its server, too.
    ~PrivateSshd();

    QString Path(const QString& name) const { return m_Folder.filePath(name); }
    QString RuntimeHere() const { return Path(QStringLiteral("here/run")); }
    void Write(const QString& name, const QByteArray& text) const;
    QByteArray Read(const QString& name) const;
    /// Puts a program in front of those on the path of the machine.
    void InstallThere(const QString& name, const QByteArray& script) const;
    /// The processes at either side whose command lines begin with these words.
    QList<pid_t> Processes(const QByteArray& text) const;

private:
    void MakeKeys() const;
    void Configure() const;
    void MakeScript(const QString& name, const QByteArray& script) const;

    QTemporaryDir m_Folder;
};
