#include "tests/server/Outcome.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"

#include <kj/io.h>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <random>
#include <sys/socket.h>
#include <thread>

using namespace std::chrono_literals;

namespace {

/// What a client has said, and what the server has said to that.
using Conversation = std::vector<std::array<std::string, 2>>;
constexpr size_t Much = 65'536;

/// What arrives within that time; empty at the end.
std::string Receive(int socket, size_t most, std::chrono::milliseconds patience)
{
    pollfd readable{socket, POLLIN, 0};
    std::string bytes(most, '\0');
    const bool isThere = poll(&readable, 1, static_cast<int>(patience.count())) == 1;
    const ssize_t count = isThere ? recv(socket, bytes.data(), most, 0) : 0;
    bytes.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    return bytes;
}

/// Plays one side: says its part, in such pieces, when the other side has said as much as it did before, or is silent
/// for so long. Whether it was never silent.
bool Play(int socket, const Conversation& conversation, bool asServer, size_t pieces = Much,
          std::chrono::milliseconds patience = 2s)
{
    bool isWhole = true;
    for (const auto& turn : conversation) {
        for (const bool isServer : {false, true}) {
            const std::string& said = turn[isServer];
            for (size_t at = 0, count = 1; at < said.size() && count > 0; at += count) {
                count = std::min(pieces, said.size() - at);
                if (isServer != asServer) count = Receive(socket, count, patience).size();
                else if (send(socket, said.data() + at, count, MSG_NOSIGNAL) < 0) return false;
                isWhole = isWhole && count > 0;
            }
        }
    }
    shutdown(socket, SHUT_WR);
    while (!Receive(socket, Much, 20s).empty()) {
    }
    return isWhole;
}

/// How a client fares at a server that does this with it.
QString Meet(const std::function<void(int)>& serve)
{
    const QTemporaryDir folder;
    const ListeningSocket listener(folder.filePath(u"peer.sock"_s));
    const std::jthread server([&] {
        pollfd incoming{listener.Descriptor(), POLLIN, 0};
        poll(&incoming, 1, -1);
        serve(kj::AutoCloseFd(accept(listener.Descriptor(), nullptr, nullptr)));
    });
    RemoteLibrary library(listener.Path(), QString(), {.BeforePing = 20s});
    return OutcomeOf([&] {
        const EngineRef engine = library.AttachEngine();
        const ItemRef item = engine->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(u"D100"_s));
        return WriteTypedText(item->get_Value()) + item->get_Name() + WriteTypedText(engine->get_ControllerNames());
    });
}

} // namespace

TEST(Conversation, IsUnderstoodByteByByteAndEndsWithADescriptionWhereverItIsCutOrWrong)
{
    RealServer server;
    server.Start();
    Conversation whole;
    const auto connect = [&] {
        kj::AutoCloseFd socket(ConnectToServer(server.SocketPath()));
        fcntl(socket, F_SETFL, 0); // blocking
        return socket;
    };
    const auto record = [&](int client) {
        const auto real = connect();
        for (std::string asked; !(asked = Receive(client, Much, 20s)).empty();) {
            send(real, asked.data(), asked.size(), MSG_NOSIGNAL);
            auto& answered = whole.emplace_back(Conversation::value_type{asked})[1];
            for (std::string more; !(more = Receive(real, Much, 100ms)).empty();) answered += more;
            send(client, answered.data(), answered.size(), MSG_NOSIGNAL);
        }
    };
    const QString heard = Meet(record);
    ASSERT_TRUE(heard.contains(u"D100")) << heard.toStdString();
    EXPECT_EQ(Meet([&](int client) { Play(client, whole, true, 1); }), heard);
    EXPECT_TRUE(Play(connect(), whole, false, 1));
    for (auto cut = whole; !cut.empty(); cut.pop_back()) {
        for (auto& answered = cut.back()[1]; !answered.empty();) {
            answered.pop_back();
            const QString lost = Meet([&](int client) { Play(client, cut, true); });
            EXPECT_TRUE(lost.startsWith(u"The connection to the server was lost")) << lost.toStdString();
        }
        for (auto& asked = cut.back()[0]; !asked.empty(); asked.pop_back()) Play(connect(), cut, false);
    }
    std::mt19937 random(11);
    for (int i = 0; i < 300; ++i) {
        Conversation wrong = whole;
        auto& said = wrong[random() % whole.size()][static_cast<size_t>(i % 2)];
        if (said.empty()) continue;
        said[random() % said.size()] ^= static_cast<char>(1 << random() % 8);
        if (i % 2) Meet([&](int client) { Play(client, wrong, true, Much, 50ms); });
        else Play(connect(), wrong, false, Much, 50ms);
    }
    EXPECT_TRUE(Play(connect(), whole, false)) << "others notice nothing of it";
}
