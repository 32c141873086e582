// A server or a client of version 1.0.0, which knows nothing of what came later. Usage: old_peer server|client SOCKET
#include "tests/velsqllib/old/velsqllib.capnp.h"

#include <capnp/ez-rpc.h>
#include <cstdio>
#include <string>
#include <string_view>

namespace {

/// A text as it is on the wire.
capnp::Data::Reader Bytes(std::u16string_view text)
{
    return {reinterpret_cast<const kj::byte*>(text.data()), text.size() * sizeof(char16_t)};
}

struct Item : wire::Item::Server
{
    kj::Promise<void> getName(GetNameContext call) override
    {
        return call.getResults().setResult(Bytes(u"D100")), kj::READY_NOW;
    }
    kj::Promise<void> getValue(GetValueContext call) override
    {
        return call.getResults().initResult().setI4(25), kj::READY_NOW;
    }
};

struct Controller : wire::Controller::Server
{
    kj::Promise<void> getItem(GetItemContext call) override
    {
        return call.getResults().setResult(kj::heap<Item>()), kj::READY_NOW;
    }
    kj::Promise<void> getItemNames(GetItemNamesContext call) override
    {
        auto names = call.getResults().initResult().initArray().initBstr(2);
        names.set(0, Bytes(u"D100"));
        return names.set(1, Bytes(u"D200")), kj::READY_NOW;
    }
};

struct Engine : wire::Engine::Server
{
    kj::Promise<void> getController(GetControllerContext call) override
    {
        return call.getResults().setResult(kj::heap<Controller>()), kj::READY_NOW;
    }
    kj::Promise<void> getHistory(GetHistoryContext call) override
    {
        return call.getResults().setResult(kj::heap<wire::History::Server>()), kj::READY_NOW;
    }
};

struct Library : wire::Library::Server
{
    kj::Promise<void> createEngine(CreateEngineContext call) override
    {
        return call.getResults().setResult(kj::heap<Engine>()), kj::READY_NOW;
    }
};

void Serve(const std::string& address)
{
    capnp::EzRpcServer server(kj::heap<Library>(), address);
    server.getPort().wait(server.getWaitScope());
    std::puts("ready");
    std::fflush(stdout);
    kj::NEVER_DONE.wait(server.getWaitScope());
}

/// Prints the value of PLC1's D100.
void Call(const std::string& address)
{
    capnp::EzRpcClient client(address);
    auto find = client.getMain<wire::Library>().createEngineRequest().send().getResult().getControllerRequest();
    find.initName().setBstr(Bytes(u"PLC1"));
    auto item = find.send().getResult().getItemRequest();
    item.initName().setBstr(Bytes(u"D100"));
    auto value = item.send().getResult().getValueRequest().send().wait(client.getWaitScope());
    std::printf("%d", value.getResult().getI4());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) return 2;
    (argv[1] == std::string_view("server") ? Serve : Call)(std::string("unix:") + argv[2]);
}
