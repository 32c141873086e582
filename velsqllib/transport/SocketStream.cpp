#include "velsqllib/transport/SocketStream.h"

#include <kj/debug.h>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/socket.h>

namespace {

constexpr size_t MostFetched = 32 * 1024;
/// Who reads that much has a buffer of his own.
constexpr size_t LargeRead = 4 * 1024;
constexpr size_t MostParts = 64;

} // namespace

SocketStream::SocketStream(kj::UnixEventPort& port, kj::AutoCloseFd socket)
    : m_Port(port)
    , m_Socket(kj::mv(socket))
    , m_Arrivals(port, m_Socket, kj::UnixEventPort::FdObserver::OBSERVE_READ)
{
}

kj::Promise<size_t> SocketStream::tryRead(void* buffer, size_t minBytes, size_t maxBytes)
{
    return Read(static_cast<kj::byte*>(buffer), minBytes, maxBytes, 0);
}

kj::Promise<size_t> SocketStream::Read(kj::byte* to, size_t least, size_t most, size_t done)
{
    for (;;) {
        done += Take(to + done, most - done);
        if (done >= least || m_Ended) return done;
        KJ_IF_MAYBE (arrival, m_Arrival) {
            auto arrived = kj::mv(*arrival);
            m_Arrival = nullptr;
            return arrived.then([=, this] { return Read(to, least, most, done); });
        }
        if (most - done >= LargeRead) {
            done += Receive(to + done, most - done);
        } else {
            if (m_Fetched == nullptr) m_Fetched = kj::heapArray<kj::byte>(MostFetched);
            m_Unread = m_Fetched.slice(0, Receive(m_Fetched.begin(), m_Fetched.size()));
        }
    }
}

/// From what was fetched in advance.
size_t SocketStream::Take(kj::byte* to, size_t most)
{
    const size_t count = std::min(m_Unread.size(), most);
    std::copy_n(m_Unread.begin(), count, to);
    m_Unread = m_Unread.slice(count, m_Unread.size());
    return count;
}

size_t SocketStream::Receive(kj::byte* to, size_t most)
{
    ssize_t count = 0;
    KJ_NONBLOCKING_SYSCALL(count = recv(m_Socket, to, most, MSG_DONTWAIT));
    m_Ended = count == 0;
    // A short read has emptied the socket; but after the end, no further arrival would be noticed.
    const bool isEmpty =
        count < 0 || (count > 0 && static_cast<size_t>(count) < most && !m_Arrivals.atEndHint().orDefault(true));
    if (isEmpty) m_Arrival = m_Arrivals.whenBecomesReadable();
    return count < 0 ? 0 : static_cast<size_t>(count);
}

kj::Promise<void> SocketStream::write(const void* buffer, size_t size)
{
    return Send(Bytes(static_cast<const kj::byte*>(buffer), size), nullptr);
}

kj::Promise<void> SocketStream::write(kj::ArrayPtr<const Bytes> pieces)
{
    return Send(nullptr, pieces);
}

/// All of them stay valid until everything is sent.
kj::Promise<void> SocketStream::Send(Bytes first, kj::ArrayPtr<const Bytes> rest)
{
    for (;;) {
        for (; first.size() == 0 && rest.size() > 0; rest = rest.slice(1, rest.size())) first = rest.front();
        if (first.size() == 0) return kj::READY_NOW;
        std::array<iovec, MostParts> parts{};
        size_t count = 0;
        const auto add = [&](Bytes bytes) { parts[count++] = {const_cast<kj::byte*>(bytes.begin()), bytes.size()}; };
        add(first);
        for (size_t i = 0; i < rest.size() && count < MostParts; ++i) add(rest[i]);
        msghdr message{};
        message.msg_iov = parts.data();
        message.msg_iovlen = count;
        ssize_t sent = 0;
        KJ_NONBLOCKING_SYSCALL(sent = sendmsg(m_Socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL));
        if (sent < 0) return WhenWritable().then([=, this] { return Send(first, rest); });
        auto left = static_cast<size_t>(sent);
        for (; left >= first.size() && rest.size() > 0; rest = rest.slice(1, rest.size())) {
            left -= first.size();
            first = rest.front();
        }
        first = first.slice(left, first.size());
    }
}

/// Observed only now, with a descriptor of its own: whoever observes a socket all the time is woken by each read of the
/// other end.
kj::Promise<void> SocketStream::WhenWritable()
{
    using Observer = kj::UnixEventPort::FdObserver;
    int copy = -1;
    KJ_SYSCALL(copy = fcntl(m_Socket, F_DUPFD_CLOEXEC, 0));
    auto descriptor = kj::heap<kj::AutoCloseFd>(copy);
    auto observer = kj::heap<Observer>(m_Port, copy, Observer::OBSERVE_WRITE);
    auto writable = observer->whenBecomesWritable();
    return writable.attach(kj::mv(observer)).attach(kj::mv(descriptor));
}

void SocketStream::shutdownWrite()
{
    KJ_SYSCALL(::shutdown(m_Socket, SHUT_WR));
}

void SocketStream::abortRead()
{
    ::shutdown(m_Socket, SHUT_RD); // fails when the connection is gone already, which is as well
}
