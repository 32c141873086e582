// The bytes that a Modbus device sends over TCP after a request: the first one picks what was asked for.
#include "server/sources/modbus/TcpTransport.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// The other end of a transport's connection.
class Device
{
public:
    Device()
        : m_Listener(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        if (bind(m_Listener, any, length) != 0 || listen(m_Listener, 8) != 0) std::abort();
        getsockname(m_Listener, any, &length);
        m_Settings.Host = QStringLiteral("127.0.0.1");
        m_Settings.Port = ntohs(address.sin_port);
    }

    /// A transport whose device has already said all that it will ever say.
    std::unique_ptr<TcpTransport> Told(std::span<const quint8> bytes)
    {
        auto transport = std::make_unique<TcpTransport>(m_Settings, std::stop_token());
        transport->Connect();
        const int client = accept(m_Listener, nullptr, nullptr);
        if (send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) std::abort();
        shutdown(client, SHUT_WR);
        if (m_Client >= 0) close(m_Client);
        m_Client = client;
        const linger atOnce{1, 0};
        setsockopt(m_Client, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce)); // no port waits for stragglers
        return transport;
    }

private:
    LineSettings m_Settings;
    int m_Listener;
    int m_Client = -1;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static Device device;
    if (size == 0 || size > 10'000) return 0;
    const Span asked{static_cast<Area>(bytes[0] & 3), 0, 1 + (bytes[0] >> 2)};
    const std::span<const quint8> told(bytes + 1, size - 1);
    try {
        const auto transport = device.Told(told);
        while (true) {
            try {
                const Pdu answer = transport->Exchange(1, ReadRequest(asked), std::chrono::milliseconds(1000));
                if (ReadAnswer(asked, answer).size() != static_cast<std::size_t>(asked.Count)) std::abort();
            } catch (const ModbusError&) {
                if (!transport->IsConnected()) break; // all is read
            }
        }
        CheckWriteAnswer(WriteOneRequest(Area::Holding, 1, 2), told);
    } catch (const ModbusError&) {
    }
    return 0;
}
