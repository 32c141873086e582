#include "remote/FramePipe.h"
#include "remote/Streams.h"
#include "tests/support/PrintQt.h"

#include <QTest>

#include <gtest/gtest.h>

#include <sys/socket.h>

namespace {

constexpr int PatienceMs = 2000;

/// Two ends of a link in this process, as launcher and bridge hold them.
struct BothEnds : QObject
{
    BothEnds()
    {
        Near.Begin([this](const Frame& frame) { NearStreams.Handle(frame); });
        Far.Begin([this](const Frame& frame) { FarStreams.Handle(frame); });
    }

    /// Opens a stream; the sockets at its two outer ends.
    std::pair<Descriptor, Descriptor> Open(quint32 number)
    {
        const auto [near, nearOuter] = Pair();
        const auto [far, farOuter] = Pair();
        NearStreams.Add(number, near);
        FarStreams.Add(number, far);
        return {Descriptor(nearOuter), Descriptor(farOuter)};
    }
    static std::array<int, 2> Pair()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()), 0);
        return ends;
    }

    const std::array<int, 2> Link = Pair();
    FramePipe Near{Descriptor(Link[0]), Descriptor(dup(Link[0])), PatienceMs};
    FramePipe Far{Descriptor(Link[1]), Descriptor(dup(Link[1])), PatienceMs};
    Streams NearStreams{Near}, FarStreams{Far};
};

/// How many bytes the socket takes until nothing moves any more.
qsizetype FillUp(const Descriptor& socket)
{
    const QByteArray block(64 * 1024, 'x');
    qsizetype sum = 0;
    for (int quiet = 0; quiet < 10;) {
        const auto count = send(socket.Number(), block.constData(), static_cast<std::size_t>(block.size()), 0);
        quiet = count > 0 ? 0 : quiet + 1;
        sum += std::max<qsizetype>(0, count);
        QTest::qWait(5);
    }
    return sum;
}

QByteArray Taken(const Descriptor& socket)
{
    QByteArray bytes(64 * 1024, Qt::Uninitialized);
    bytes.truncate(
        std::max<qsizetype>(0, recv(socket.Number(), bytes.data(), static_cast<std::size_t>(bytes.size()), 0)));
    return bytes;
}

} // namespace

TEST(Streams, OneThatStandsStillDelaysNoOtherAndIsLimited)
{
    BothEnds ends;
    auto [stuck, unread] = ends.Open(1);
    auto [from, to] = ends.Open(2);
    const qsizetype sent = FillUp(stuck);
    EXPECT_GE(sent, Streams::Window);
    EXPECT_LT(sent, 3 * Streams::Window) << "no more than the credit and what sockets hold";

    QByteArray arrived;
    const QByteArray text(3 * Streams::Window, 'a');
    for (qsizetype begun = 0; arrived.size() < text.size();) {
        const auto count =
            send(from.Number(), text.constData() + begun, static_cast<std::size_t>(text.size() - begun), 0);
        begun += std::max<qsizetype>(0, count);
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                arrived += Taken(to);
                return arrived.size() >= begun;
            },
            20'000));
    }
    EXPECT_TRUE(arrived == text) << "beyond its window: credit is given back";

    qsizetype late = 0;
    stuck.Reset();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            late += Taken(unread).size();
            return late == sent;
        },
        20'000))
        << "what was sent before the end arrives: " << late << " of " << sent;
}
