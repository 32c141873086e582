// What arrives through the pipe between launcher and bridge, in pieces as the first byte has it. Frames are what was
// sent, whatever the pieces; and a pipe that carries three streams hands each stream's data on, and no other's.
#include "core/automation/Errors.h"
#include "remote/FramePipe.h"
#include "remote/Streams.h"
#include "tests/fuzz/Fuzz.h"

#include <QCoreApplication>

#include <array>
#include <map>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

constexpr quint32 StreamCount = 3;

/// A connected pair that does not block.
struct Pair
{
    Pair()
    {
        int ends[2];
        Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) == 0);
        Inner.Reset(ends[0]);
        Outer.Reset(ends[1]);
    }
    QByteArray Arrived() const
    {
        QByteArray all, some(64 * 1024, Qt::Uninitialized);
        for (ssize_t count = 0; (count = recv(Outer.Number(), some.data(), 64 * 1024, 0)) > 0;)
            all.append(some.data(), count);
        return all;
    }

    Descriptor Inner, Outer;
};

/// What a reader makes of the bytes: frames, and whether the rest can be none.
std::pair<QList<QByteArray>, bool> Read(const QByteArray& bytes, qsizetype piece)
{
    QList<QByteArray> frames;
    FrameReader reader;
    try {
        for (qsizetype at = 0; at < bytes.size(); at += piece) {
            reader.Add(bytes.mid(at, piece));
            while (const auto frame = reader.Next()) frames.append(frame->Encode());
        }
        return {frames, true};
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
        return {frames, false};
    }
}

bool IsOurs(quint32 stream)
{
    return stream >= 1 && stream <= StreamCount;
}

/// What each stream gets of the data that comes before its end, or before the first frame that no proper end sends.
std::map<quint32, QByteArray> DataIn(const QByteArray& bytes)
{
    std::map<quint32, QByteArray> data;
    std::map<quint32, bool> hasEnded;
    FrameReader reader;
    reader.Add(bytes);
    try {
        while (const auto frame = reader.Next()) {
            if (!IsOurs(frame->Stream) || hasEnded[frame->Stream]) continue;
            if (frame->Type == FrameType::Data) data[frame->Stream] += frame->Payload;
            else if (frame->Type == FrameType::Close) hasEnded[frame->Stream] = true;
            else if (frame->Type == FrameType::Credit && Frame::Number(frame->Payload) > 0) break; // nothing was sent
        }
    } catch (const DescribedError&) {
    }
    return data;
}

int UnreadBytes(int socket)
{
    int count = 0;
    Require(ioctl(socket, FIONREAD, &count) == 0);
    return count;
}

void Carry(const QByteArray& bytes)
{
    const Pair link;
    std::array<Pair, StreamCount> ends;
    bool isLost = false;
    FramePipe pipe(Descriptor(dup(link.Inner.Number())), Descriptor(dup(link.Inner.Number())), 60'000);
    Streams streams(pipe);
    QObject::connect(&pipe, &FramePipe::Lost, &pipe, [&] { isLost = true; });
    for (quint32 i = 0; i < StreamCount; ++i) streams.Add(i + 1, ends[i].Inner.Release());
    pipe.Begin([&](const Frame& frame) { streams.Handle(frame); });
    const auto size = static_cast<size_t>(bytes.size());
    Require(send(link.Outer.Number(), bytes.constData(), size, MSG_NOSIGNAL) == bytes.size());
    while (!isLost && UnreadBytes(link.Inner.Number()) > 0) QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    auto data = DataIn(bytes);
    for (quint32 i = 0; i < StreamCount; ++i) Require(ends[i].Arrived() == data[i + 1]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static const QCoreApplication app(argc, argv);
    if (size < 2 || size > 32 * 1024) return 0;
    const QByteArray all = BytesOf(bytes + 1, size - 1);
    const auto frames = Read(all, all.size());
    Require(Read(all, 1 + bytes[0]) == frames);
    if (frames.second) Require(all.startsWith(frames.first.join()));
    Carry(all);
    return 0;
}
