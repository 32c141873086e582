// Passes everything on between a socket that it listens at and another one, each way so many milliseconds later: a link
// to another machine without the machine. Usage: delaying_relay LISTEN CONNECT MILLISECONDS
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <list>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// What one end has sent and the other has not taken yet.
class Direction
{
public:
    /// The end of the stream is passed on once all that came before has been.
    void Read(int from, Clock::duration delay)
    {
        std::string bytes(64 * 1024, '\0');
        const ssize_t count = read(from, bytes.data(), bytes.size());
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count <= 0) m_Ended = true;
        else m_Chunks.push_back({Clock::now() + delay, bytes.substr(0, static_cast<std::size_t>(count))});
    }

    /// False when the other end has gone.
    bool Write(int to)
    {
        while (!m_Chunks.empty() && m_Chunks.front().Due <= Clock::now()) {
            std::string& bytes = m_Chunks.front().Bytes;
            const ssize_t count = send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0) return errno == EAGAIN || errno == EINTR;
            if (static_cast<std::size_t>(count) < bytes.size())
                return bytes.erase(0, static_cast<std::size_t>(count)), true;
            m_Chunks.pop_front();
        }
        return true;
    }

    bool MayRead() const { return !m_Ended && m_Chunks.size() < MostChunks; }
    bool IsOver() const { return m_Ended && m_Chunks.empty(); }
    bool IsDue(Clock::time_point now) const { return !m_Chunks.empty() && m_Chunks.front().Due <= now; }
    /// When the next chunk becomes due; the end of time when none does, or one is.
    Clock::time_point NextDue(Clock::time_point now) const
    {
        return m_Chunks.empty() || IsDue(now) ? Clock::time_point::max() : m_Chunks.front().Due;
    }

private:
    static constexpr std::size_t MostChunks = 1024;

    struct Chunk
    {
        Clock::time_point Due;
        std::string Bytes;
    };
    std::deque<Chunk> m_Chunks;
    bool m_Ended = false;
};

struct Pair
{
    int Near;
    int Far;
    Direction There = {};
    Direction Back = {};
};

[[noreturn]] void Fail(const char* what)
{
    std::perror(what);
    std::exit(EXIT_FAILURE);
}

sockaddr_un Address(const char* path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) >= sizeof address.sun_path) Fail(path);
    std::strcpy(address.sun_path, path);
    return address;
}

int Listen(const char* path)
{
    const sockaddr_un address = Address(path);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    umask(0177); // for this user only
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(socket, 16) != 0)
        Fail(path);
    return socket;
}

/// Nothing when nobody listens there: the near end then sees the end of the stream.
void Accept(int listener, const char* path, std::list<Pair>& pairs)
{
    const int near = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (near < 0) return;
    const sockaddr_un address = Address(path);
    const int far = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(far, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(near);
        close(far);
        return;
    }
    fcntl(far, F_SETFL, O_NONBLOCK);
    pairs.push_back({near, far});
}

short Wanted(const Direction& in, const Direction& out, Clock::time_point now)
{
    return static_cast<short>((in.MayRead() ? POLLIN : 0) | (out.IsDue(now) ? POLLOUT : 0));
}

void Wait(int listener, const std::list<Pair>& pairs)
{
    std::vector<pollfd> ends{{listener, POLLIN, 0}};
    const auto now = Clock::now();
    Clock::time_point due = now + std::chrono::seconds(10);
    for (const Pair& pair : pairs) {
        ends.push_back({pair.Near, Wanted(pair.There, pair.Back, now), 0});
        ends.push_back({pair.Far, Wanted(pair.Back, pair.There, now), 0});
        due = std::min({due, pair.There.NextDue(now), pair.Back.NextDue(now)});
    }
    const auto rest = std::max(Clock::duration::zero(), due - Clock::now());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
    const timespec time{seconds.count(), std::chrono::nanoseconds(rest - seconds).count()};
    ppoll(ends.data(), ends.size(), &time, nullptr);
}

/// False when the connection is over at both ends.
bool Move(Pair& pair, Clock::duration delay)
{
    if (pair.There.MayRead()) pair.There.Read(pair.Near, delay);
    if (pair.Back.MayRead()) pair.Back.Read(pair.Far, delay);
    const bool goesOn = pair.There.Write(pair.Far) && pair.Back.Write(pair.Near);
    if (goesOn && !pair.There.IsOver() && !pair.Back.IsOver()) return true;
    close(pair.Near);
    close(pair.Far);
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "Usage: delaying_relay LISTEN CONNECT MILLISECONDS\n");
        return EXIT_FAILURE;
    }
    prctl(PR_SET_PDEATHSIG, SIGTERM); // ends with who has started it
    const auto delay = std::chrono::milliseconds(std::atoi(argv[3]));
    const int listener = Listen(argv[1]);
    std::list<Pair> pairs;
    for (;;) {
        Wait(listener, pairs);
        Accept(listener, argv[2], pairs);
        pairs.remove_if([delay](Pair& pair) { return !Move(pair, delay); });
    }
}
