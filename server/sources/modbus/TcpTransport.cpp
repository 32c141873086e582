#include "server/sources/modbus/TcpTransport.h"

#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// Transaction, protocol and length; the unit and the PDU follow.
constexpr std::size_t HeadSize = 6;
constexpr std::size_t MostInFrame = 254;

/// How soon a waiting thread notices that it is to stop.
constexpr std::chrono::milliseconds LookForStop{50};

quint16 NumberAt(std::span<const quint8> bytes, std::size_t at)
{
    return static_cast<quint16>(bytes[at] << 8 | bytes[at + 1]);
}

QString SystemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

TcpTransport::TcpTransport(const LineSettings& settings, std::stop_token stop)
    : m_Settings(settings)
    , m_Stop(std::move(stop))
{
}

TcpTransport::~TcpTransport()
{
    Close();
}

void TcpTransport::Connect()
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(m_Settings.Host.toUtf8().constData(), QByteArray::number(m_Settings.Port).constData(),
                                  &hints, &found);
    if (error) Break(QString::fromLocal8Bit(gai_strerror(error)));
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, &freeaddrinfo);
    const auto deadline = Clock::now() + m_Settings.ConnectTimeout;
    for (const addrinfo* address = found; address; address = address->ai_next) {
        try {
            return ConnectTo(*address, deadline);
        } catch (const ModbusError&) {
            if (!address->ai_next) throw;
        }
    }
}

void TcpTransport::ConnectTo(const addrinfo& address, Clock::time_point deadline)
{
    m_Socket = socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_Socket < 0) Break(SystemError());
    const int on = 1;
    setsockopt(m_Socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    if (connect(m_Socket, address.ai_addr, address.ai_addrlen) == 0) return;
    if (errno != EINPROGRESS) Break(SystemError());
    if (!Wait(POLLOUT, deadline)) Break(QStringLiteral("no connection in time"));
    socklen_t size = sizeof(errno);
    int error = 0;
    getsockopt(m_Socket, SOL_SOCKET, SO_ERROR, &error, &size);
    errno = error;
    if (error) Break(SystemError());
}

void TcpTransport::Close()
{
    if (m_Socket >= 0) close(m_Socket);
    m_Socket = -1;
    m_Received.clear();
}

void TcpTransport::Break(const QString& what)
{
    Close();
    throw ModbusError(ModbusError::Kind::Broken, QStringLiteral("%1: %2").arg(m_Settings.Place(), what));
}

/// False when the time is over, or the thread is to stop.
bool TcpTransport::Wait(short events, Clock::time_point deadline)
{
    while (!m_Stop.stop_requested()) {
        const auto left = std::chrono::ceil<Milliseconds>(deadline - Clock::now());
        if (left <= Milliseconds::zero()) return false;
        pollfd waiting{m_Socket, events, 0};
        if (poll(&waiting, 1, static_cast<int>(std::min(left, LookForStop).count())) > 0) return true;
    }
    return false;
}

void TcpTransport::Send(const Pdu& frame, Clock::time_point deadline)
{
    for (std::size_t sent = 0; sent < frame.size();) {
        const ssize_t count = send(m_Socket, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
        if (count > 0) sent += static_cast<std::size_t>(count);
        else if (errno != EAGAIN && errno != EINTR) Break(SystemError());
        else if (!Wait(POLLOUT, deadline)) Break(QStringLiteral("it takes no requests"));
    }
}

/// Receives until so many bytes are there.
void TcpTransport::Fill(std::size_t size, Clock::time_point deadline)
{
    while (m_Received.size() < size) {
        if (!Wait(POLLIN, deadline)) throw ModbusError(ModbusError::Kind::Silent, QStringLiteral("no answer in time"));
        quint8 bytes[HeadSize + MostInFrame];
        const ssize_t count = recv(m_Socket, bytes, sizeof(bytes), 0);
        if (count > 0) m_Received.insert(m_Received.end(), bytes, bytes + count);
        else if (count == 0) Break(QStringLiteral("it has closed the connection"));
        else if (errno != EAGAIN && errno != EINTR) Break(SystemError());
    }
}

Pdu TcpTransport::Exchange(quint8 unit, const Pdu& request, Milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    const quint16 transaction = ++m_Transaction;
    const std::size_t length = request.size() + 1;
    Pdu frame(HeadSize + length);
    frame[0] = static_cast<quint8>(transaction >> 8);
    frame[1] = static_cast<quint8>(transaction);
    frame[4] = static_cast<quint8>(length >> 8);
    frame[5] = static_cast<quint8>(length);
    frame[HeadSize] = unit;
    std::ranges::copy(request, frame.begin() + HeadSize + 1);
    Send(frame, deadline);
    while (true) {
        Fill(HeadSize, deadline);
        const std::size_t size = NumberAt(m_Received, 4);
        // Where one frame is none, nobody knows where the next one begins.
        if (NumberAt(m_Received, 2) != 0 || size < 2 || size > MostInFrame)
            Break(QStringLiteral("it does not speak Modbus"));
        Fill(HeadSize + size, deadline);
        const quint16 answered = NumberAt(m_Received, 0);
        const quint8 answering = m_Received[HeadSize];
        const auto end = m_Received.begin() + static_cast<std::ptrdiff_t>(HeadSize + size);
        Pdu answer(m_Received.begin() + HeadSize + 1, end);
        m_Received.erase(m_Received.begin(), end);
        if (answered != transaction) continue; // late, or of nobody's request
        if (answering == unit) return answer;
        throw ModbusError(ModbusError::Kind::Garbled,
                          QStringLiteral("unit %1 has answered instead of %2").arg(answering).arg(unit));
    }
}
