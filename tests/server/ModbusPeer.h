#pragma once

#include "tests/server/ServerRun.h"
#include "tests/server/TestClient.h"

#include <QTcpServer>

/// A port of the loopback interface that is free at present.
inline int FreePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// A Modbus device that nobody here wrote, and what it does to its answers.
class ModbusPeer
{
public:
    ModbusPeer(const QString& kind, const QString& place)
        : m_Arguments({QStringLiteral(VELSQL_TESTS "/server/modbus_peer.py"), kind, place})
    {
        Start();
    }
    ~ModbusPeer() { Kill(); }

    void Start()
    {
        m_Process.start(u"/usr/bin/python3"_s, m_Arguments);
        Expect("serves\n");
    }
    void Kill()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }
    /// From now on it answers in this way.
    void Be(const QByteArray& mode)
    {
        m_Process.write(mode + '\n');
        Expect(mode + '\n');
    }

private:
    void Expect(const QByteArray& line)
    {
        while (!m_Process.canReadLine() && m_Process.waitForReadyRead(10'000)) {
        }
        EXPECT_EQ(m_Process.readLine(), line) << m_Process.readAllStandardError().toStdString();
    }

    const QStringList m_Arguments;
    QProcess m_Process;
};

/// Two ends of a serial line.
class SerialLine
{
public:
    SerialLine()
    {
        m_Process.start(u"socat"_s, {u"pty,raw,echo=0,link="_s + End(0), u"pty,raw,echo=0,link="_s + End(1)});
        EXPECT_TRUE(WaitUntil([&] { return QFile::exists(End(0)) && QFile::exists(End(1)); }));
    }
    ~SerialLine()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }
    QString End(int which) const { return m_Folder.filePath(QString::number(which)); }

private:
    QTemporaryDir m_Folder;
    QProcess m_Process;
};
