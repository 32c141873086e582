// Modbus slaves for bench_modbus, each on a port of its own: "modbus_slaves COUNT" prints their ports. A line "report"
// of standard input is answered, slave by slave, with what it has served since the last one: requests, registers, and
// the longest time in milliseconds between two requests for register 0, with which each scan begins. Unit 2 is mute.
#include <QtGlobal>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <modbus/modbus.h>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int Registers = 65'536;
constexpr int MuteUnit = 2;
constexpr int HeaderLength = 7;

struct Slave
{
    int Port = 0;
    int Listener = -1;
    std::mutex Guard;
    modbus_mapping_t* Mapping = modbus_mapping_new(0, 0, Registers, 0);
    long Requests = 0;
    long Served = 0;
    long Muted = 0;
    Clock::time_point Begun = Clock::now();
    double LongestMs = 0.0;
};

int NumberAt(const quint8* bytes)
{
    return bytes[0] << 8 | bytes[1];
}

void Note(Slave& slave, const quint8* request)
{
    constexpr quint8 ReadHolding = 3;
    ++slave.Requests;
    if (request[HeaderLength] != ReadHolding) return;
    slave.Served += NumberAt(request + HeaderLength + 3);
    if (NumberAt(request + HeaderLength + 1) != 0) return;
    const auto now = Clock::now();
    slave.LongestMs = std::max(slave.LongestMs, std::chrono::duration<double, std::milli>(now - slave.Begun).count());
    slave.Begun = now;
    // Every value has changed at the next scan.
    for (int i = 1; i < Registers; i += 2) ++slave.Mapping->tab_registers[i];
}

void Serve(Slave& slave, int socket)
{
    modbus_t* const line = modbus_new_tcp(nullptr, slave.Port);
    modbus_set_socket(line, socket);
    quint8 request[MODBUS_TCP_MAX_ADU_LENGTH];
    for (int size = 0; size >= 0;) {
        size = modbus_receive(line, request);
        if (size <= 0) continue;
        const std::lock_guard lock(slave.Guard);
        if (request[HeaderLength - 1] == MuteUnit) {
            ++slave.Muted;
            continue;
        }
        Note(slave, request);
        size = modbus_reply(line, request, size, slave.Mapping);
    }
    modbus_close(line);
    modbus_free(line);
}

void Listen(Slave& slave)
{
    slave.Listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(slave.Listener, any, length) != 0 || listen(slave.Listener, 16) != 0) std::exit(1);
    getsockname(slave.Listener, any, &length);
    slave.Port = ntohs(address.sin_port);
    std::thread([&slave] {
        while (true) {
            const int client = accept(slave.Listener, nullptr, nullptr);
            if (client >= 0) std::thread(Serve, std::ref(slave), client).detach();
        }
    }).detach();
}

void Report(Slave& slave)
{
    const std::lock_guard lock(slave.Guard);
    std::printf("%ld %ld %.1f %ld\n", slave.Requests, slave.Served, slave.LongestMs, slave.Muted);
    slave.Requests = slave.Served = slave.Muted = 0;
    slave.LongestMs = 0.0;
    slave.Begun = Clock::now();
}

} // namespace

int main(int argc, char** argv)
{
    std::list<Slave> slaves(argc > 1 ? static_cast<std::size_t>(std::atoi(argv[1])) : 1);
    for (Slave& slave : slaves) {
        Listen(slave);
        std::printf("%d\n", slave.Port);
    }
    std::fflush(stdout);
    char line[64];
    while (std::fgets(line, sizeof(line), stdin)) {
        for (Slave& slave : slaves) Report(slave);
        std::fflush(stdout);
    }
    std::_Exit(0);
}
