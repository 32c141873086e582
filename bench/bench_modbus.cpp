// 10 lines of 10,000 R4 each, read every second, against a bare loop of libmodbus over the same slaves in the same run.
// Meanwhile values are written; then one device is mute, on a line of its own and on a line with another one. The
// slaves count what they have really served.
#include "bench/Figures.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <modbus/modbus.h>
#include <thread>

namespace {

constexpr int Lines = 10;
constexpr int Values = 10'000;
constexpr int Registers = 2 * Values;
constexpr int Block = 125;
constexpr int Seconds = 10;
constexpr int PeriodMs = 1000;
constexpr double MuteTimeout = 0.3;
constexpr int MuteSeconds = 30;

struct Served
{
    qint64 Requests = 0;
    qint64 Registers = 0;
    double LongestMs = 0.0;
    qint64 Muted = 0;
};

/// The slaves, the last one for the mute devices.
class Slaves
{
public:
    Slaves()
    {
        m_Process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/modbus_slaves"),
                        {QString::number(Lines + 1)});
        for (int i = 0; i <= Lines; ++i) Ports.append(Line().toInt());
    }
    ~Slaves()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    /// Of all but the last one together, then of the last one; since the last report.
    std::pair<Served, Served> Report()
    {
        m_Process.write("report\n");
        Served all, last;
        for (int i = 0; i <= Lines; ++i) {
            const QList<QByteArray> numbers = Line().split(' ');
            last = {numbers[0].toLongLong(), numbers[1].toLongLong(), numbers[2].toDouble(), numbers[3].toLongLong()};
            if (i == Lines) break;
            all.Requests += last.Requests;
            all.Registers += last.Registers;
            all.LongestMs = std::max(all.LongestMs, last.LongestMs);
        }
        return {all, last};
    }

    QList<int> Ports;

private:
    QByteArray Line()
    {
        while (!m_Process.canReadLine()) {
            if (!m_Process.waitForReadyRead(20'000)) qFatal("the slaves do not answer");
        }
        return m_Process.readLine().trimmed();
    }

    QProcess m_Process;
};

/// What this program does in a process of its own, given the ports: the least that reading them takes.
int ReadBare(const QStringList& ports)
{
    std::vector<std::thread> threads;
    for (const QString& port : ports) {
        threads.emplace_back([port] {
            modbus_t* const line = modbus_new_tcp("127.0.0.1", port.toInt());
            if (modbus_connect(line) != 0) qFatal("no slave");
            std::vector<quint16> registers(Registers);
            auto due = std::chrono::steady_clock::now();
            for (int scan = 0; scan < Seconds; ++scan) {
                for (int at = 0; at < Registers; at += Block) {
                    if (modbus_read_registers(line, at, std::min(Block, Registers - at), registers.data() + at) < 0)
                        qFatal("a request failed");
                }
                std::this_thread::sleep_until(due += std::chrono::milliseconds(PeriodMs));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    timespec taken{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &taken);
    std::printf("%.3f\n", static_cast<double>(taken.tv_sec) * 1e3 + static_cast<double>(taken.tv_nsec) / 1e6);
    return 0;
}

double BareCpuMs(const QList<int>& ports)
{
    QStringList arguments = {QStringLiteral("--bare")};
    for (int i = 0; i < Lines; ++i) arguments.append(QString::number(ports[i]));
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), arguments);
    process.waitForFinished(10 * Seconds * 1000);
    bool isNumber = false;
    const double taken = process.readAllStandardOutput().trimmed().toDouble(&isNumber);
    if (!isNumber) qFatal("the bare loop failed");
    return taken;
}

/// Of all threads that a process has now, to the nanosecond: what takes shorter than a tick of the clock counts, too.
double CpuMsOf(qint64 process)
{
    double taken = 0.0;
    const QDir threads(QStringLiteral("/proc/%1/task").arg(process));
    for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(threads.filePath(thread + QStringLiteral("/schedstat")));
        if (file.open(QIODevice::ReadOnly)) taken += file.readAll().split(' ').first().toDouble() / 1e6;
    }
    return taken;
}

QByteArray Device(const QByteArray& name, int port, const QByteArray& more = {})
{
    return "[[device]]\nname = \"" + name +
           "\"\nprotocol = \"modbus-tcp\"\nhost = \"127.0.0.1\"\nport = " + QByteArray::number(port) +
           "\nwrite = true\n" + more + '\n';
}

QByteArray Controller(const QByteArray& name, int values, bool isActive = true)
{
    return "[[controller]]\nname = \"" + name + "\"\ndevice = \"" + name +
           "\"\nactive = " + (isActive ? "true" : "false") +
           "\nscan_times = [1000, 0, 0]\n[[controller.item]]\nname = \"I{0.." + QByteArray::number(values - 1) +
           "}\"\ntype = \"R4\"\nvariable = \"holding:{2*n}\"\n";
}

QByteArray Plant(const QList<int>& ports)
{
    QByteArray devices, controllers;
    for (int i = 0; i < Lines; ++i) {
        const QByteArray name = 'L' + QByteArray::number(i);
        devices += Device(name, ports[i]);
        controllers += Controller(name, Values);
    }
    const QByteArray mute = "timeout = " + QByteArray::number(MuteTimeout);
    devices += Device("Beside", ports[Lines]) + Device("Mute", ports[Lines], "unit = 2\n" + mute);
    return devices + controllers + Controller("Beside", Values, false) + Controller("Mute", 100, false);
}

double MemoryMbOf(qint64 process)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly)) return 0.0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) return line.simplified().split(' ')[1].toDouble() / 1024.0;
    }
    return 0.0;
}

bool Print(const char* name, double figure, const char* unit, double limit)
{
    const bool keeps = figure <= limit;
    std::printf("  %-60s %9.2f %-3s (at most %g)%s\n", name, figure, unit, limit, keeps ? "" : "  FAILED");
    return keeps;
}

/// Milliseconds that 99 of 100 writings do not exceed, one after the other for so long.
double WriteForAWhile(VelSQLEngine& engine, int seconds)
{
    QList<double> milliseconds;
    QElapsedTimer whole;
    whole.start();
    for (int i = 0; whole.elapsed() < seconds * 1000; ++i) {
        const ControllerRef controller = engine.get_Controller(Variant(QStringLiteral("L%1").arg(i % Lines)));
        const ItemRef item = controller->get_Item(Variant(QStringLiteral("I%1").arg(i * 37 % Values)));
        QElapsedTimer one;
        one.start();
        item->put_Value(Variant(static_cast<float>(i)));
        milliseconds.append(static_cast<double>(one.nsecsElapsed()) / 1e6);
        QThread::msleep(10);
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    return milliseconds[milliseconds.size() * 99 / 100];
}

int Run()
{
    Slaves slaves;
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("plant.toml"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) qFatal("no plant file");
    file.write(Plant(slaves.Ports));
    file.close();

    const double bare = BareCpuMs(slaves.Ports);
    const Served byBare = slaves.Report().first;
    RealServer server;
    server.Start({QStringLiteral("--plant"), path});
    QThread::msleep(3000); // plans are made, memory is taken
    slaves.Report();
    const double before = CpuMsOf(server.ProcessId());
    QThread::msleep(Seconds * 1000);
    const double taken = CpuMsOf(server.ProcessId()) - before;
    const Served byServer = slaves.Report().first;

    RemoteLibrary library(server.SocketPath(), QString());
    const EngineRef engine = library.CreateEngine();
    const double slowWrite = WriteForAWhile(*engine, Seconds);
    const Served whileWriting = slaves.Report().first;
    const ControllerRef mute = engine->get_Controller(Variant(QStringLiteral("Mute")));
    engine->get_Controller(Variant(QStringLiteral("Beside")))->Start();
    QThread::msleep(3000);
    slaves.Report();
    QThread::msleep(MuteSeconds * 1000);
    const auto [calm, besideCalm] = slaves.Report();
    mute->Start();
    QThread::msleep(MuteSeconds * 1000);
    const auto [troubled, beside] = slaves.Report();

    std::printf("%d lines of %d R4 each, every second, for %d s\n", Lines, Values, Seconds);
    std::printf("  %-60s %9.0f ms  %lld requests\n", "bare loop of libmodbus, processor time", bare,
                static_cast<long long>(byBare.Requests));
    std::printf("  %-60s %9.0f ms  %lld requests\n", "velsqlserver, processor time", taken,
                static_cast<long long>(byServer.Requests));
    bool good = Print("processor time, to the bare loop", taken / bare, "", 2.5);
    good &= Print("requests, to the bare loop",
                  static_cast<double>(byServer.Requests) / static_cast<double>(byBare.Requests), "", 1.1);
    const bool isAll = static_cast<double>(byServer.Registers) >= 0.99 * static_cast<double>(byBare.Registers);
    std::printf("  %-60s %s\n", "all values were read in each second", isAll ? "yes" : "no  FAILED");
    good &= isAll;
    good &= Print("memory", MemoryMbOf(server.ProcessId()), "MB", 300);
    good &= Print("longest time between the beginnings of two scans", byServer.LongestMs, "ms", 2.0 * PeriodMs);
    good &= Print("put_Value meanwhile, 99 of 100", slowWrite, "ms", 50);
    good &= Print("  the scans meanwhile", whileWriting.LongestMs, "ms", 2.0 * PeriodMs);
    good &=
        Print("a mute device: the scans of other lines are later by", troubled.LongestMs - calm.LongestMs, "ms", 20);
    good &= Print("  its part of the time of its own line",
                  100.0 * static_cast<double>(beside.Muted) * MuteTimeout / MuteSeconds, "%", 5);
    good &= Print("  the scans of the other device there", beside.LongestMs, "ms", 2.0 * PeriodMs);
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QStringLiteral("--bare")) return ReadBare(arguments.mid(2));
    return Run();
}
