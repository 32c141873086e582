// 20,000 messages a second from a broker into the items of a server, against a bare subscriber that only counts them:
// both hear the same messages at the same time. At most three times its processor time, and none may be missing.
//
// Called by itself as "--subscribe PORT" (prints how many it has heard when its input ends) and "--publish PORT" (a topic each
// turn; the messages are numbers from 1 on).
#include "bench/Figures.h"
#include "core/automation/ServerObjects.h"
#include "tests/support/BrokerRun.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <mosquitto.h>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <atomic>
#include <cstdio>
#include <thread>
#include <unistd.h>

namespace {

constexpr int Rate = 20'000; // messages a second
constexpr int Topics = 1000;
constexpr int Seconds = 10;

struct Client
{
    Client(const char* port, void* self)
        : Handle(mosquitto_new(nullptr, true, self))
    {
        mosquitto_connect(Handle, "127.0.0.1", std::atoi(port), 60);
    }
    ~Client() { mosquitto_destroy(Handle); }
    mosquitto* const Handle;
};

int Subscribe(const char* port)
{
    std::atomic<int> heard = 0;
    const Client client(port, &heard);
    mosquitto_message_callback_set(client.Handle, [](mosquitto*, void* self, const mosquitto_message*) {
        ++*static_cast<std::atomic<int>*>(self);
    });
    mosquitto_subscribe(client.Handle, nullptr, "bench/#", 0);
    std::thread([handle = client.Handle] { mosquitto_loop_forever(handle, -1, 1); }).detach();
    char byte = 0;
    while (read(STDIN_FILENO, &byte, 1) > 0) {
    }
    std::printf("%d\n", heard.load());
    std::fflush(stdout);
    _exit(0);
}

/// The same count for every topic.
int Publish(const char* port)
{
    const Client client(port, nullptr);
    mosquitto_loop_start(client.Handle);
    const auto began = std::chrono::steady_clock::now();
    for (int i = 0; i < Rate * Seconds; ++i) {
        if (i % 200 == 0)
            std::this_thread::sleep_until(began + std::chrono::microseconds(qint64{i} * 1'000'000 / Rate));
        const QByteArray topic = "bench/" + QByteArray::number(i % Topics);
        const QByteArray payload = QByteArray::number(i / Topics + 1);
        mosquitto_publish(client.Handle, nullptr, topic.constData(), static_cast<int>(payload.size()),
                          payload.constData(), 0, false);
    }
    std::this_thread::sleep_for(std::chrono::seconds(1));
    mosquitto_disconnect(client.Handle);
    mosquitto_loop_stop(client.Handle, false);
    return 0;
}

/// Seconds that a process has taken of processors.
double ProcessorTime(qint64 process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QIODevice::ReadOnly)) return 0.0;
    const QList<QByteArray> fields = file.readAll().split(')').last().trimmed().split(' ');
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

QString WritePlant(const BrokerRun& broker)
{
    const QString path = broker.Folder() + QStringLiteral("/plant.toml");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return path;
    file.write("[history]\nenabled = false\n[[device]]\nname = \"Broker\"\nprotocol = \"mqtt\"\nhost = "
               "\"127.0.0.1\"\nport = " +
               QByteArray::number(broker.Port()) + "\n[[controller]]\nname = \"C\"\ndevice = \"Broker\"\n" +
               "[[controller.item]]\nname = \"I{0.." + QByteArray::number(Topics - 1) +
               "}\"\ntype = \"R8\"\nvariable = \"bench/{n}\"\n");
    return path;
}

/// How many messages are missing in the items.
int CountMissing(VelSQLController& controller)
{
    int missing = 0;
    for (int i = 0; i < Topics; ++i) {
        const ItemRef item = controller.get_Item(Variant(QStringLiteral("I%1").arg(i)));
        const Variant value = item->get_Value();
        const double* last = value.GetIf<double>();
        if (!last || *last != Rate * Seconds / Topics) ++missing;
    }
    return missing;
}

int Measure()
{
    const BrokerRun broker;
    RealServer server;
    server.Start({QStringLiteral("--plant"), WritePlant(broker)});
    QProcess bare, publisher;
    const QString port = QString::number(broker.Port());
    bare.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--subscribe"), port});
    bare.waitForStarted();
    std::this_thread::sleep_for(std::chrono::seconds(1)); // both have subscribed by then
    const double serverBefore = ProcessorTime(server.ProcessId()), bareBefore = ProcessorTime(bare.processId());
    publisher.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--publish"), port});
    publisher.waitForFinished(-1);
    const double serverTook = ProcessorTime(server.ProcessId()) - serverBefore;
    const double bareTook = ProcessorTime(bare.processId()) - bareBefore;
    bare.closeWriteChannel();
    bare.waitForFinished();
    const int heard = bare.readAllStandardOutput().trimmed().toInt();

    RemoteLibrary library(server.SocketPath(), QString());
    const int missing = CountMissing(*library.CreateEngine()->get_Controller(Variant(QStringLiteral("C"))));
    std::printf("%d messages a second on %d topics for %d seconds\n", Rate, Topics, Seconds);
    std::printf("  %-52s %9.2f us\n", "bare subscriber, processor time a message", bareTook * 1e6 / (Rate * Seconds));
    std::printf("  %-52s %9.2f us\n", "server with as many items as topics", serverTook * 1e6 / (Rate * Seconds));
    std::printf("  %-52s %9d\n", "messages that the bare subscriber has not heard", Rate * Seconds - heard);
    std::printf("  %-52s %9d\n", "items that do not hold the last message", missing);
    const bool isFast =
        Figures::PrintRatio(QStringLiteral("processor time: server / bare"), serverTook / bareTook, 3.0);
    return isFast && missing == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    mosquitto_lib_init();
    const QStringList words = QCoreApplication::arguments();
    if (words.value(1) == QStringLiteral("--subscribe")) return Subscribe(argv[2]);
    if (words.value(1) == QStringLiteral("--publish")) return Publish(argv[2]);
    return Measure();
}
