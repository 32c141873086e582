// All that a server says to a client, and then a byte that picks what the client does. Whatever it is, each call ends,
// with a result or with a description.
#include "core/automation/Errors.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/Messages.h"
#include "velsqllib/RemoteLibrary.h"
#include "velsqllib/ServerSocket.h"

#include <kj/io.h>
#include <QCoreApplication>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/socket.h>

namespace {

/// Says what it is told to, to the client that comes next, and then no more; to those that come after that, nothing.
/// It runs in the client's own loop.
class Server
{
public:
    QString Path() const { return m_Socket.Path(); }
    void WillSay(const QByteArray& bytes)
    {
        m_Said = bytes;
        m_Accepting = AcceptAll().eagerlyEvaluate(nullptr);
    }
    /// Turns away who is still waiting, so that the next one is not taken for him.
    void Forget()
    {
        m_Said.clear();
        Accept();
        m_Accepting = kj::READY_NOW;
        m_Client = nullptr;
    }

private:
    kj::Promise<void> AcceptAll()
    {
        return m_Observer.whenBecomesReadable().then([this] {
            Accept();
            return AcceptAll();
        });
    }
    void Accept()
    {
        for (int next = -1; (next = accept4(m_Socket.Descriptor(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            kj::AutoCloseFd client(next);
            if (m_Said.isEmpty()) continue;
            send(client, m_Said.constData(), static_cast<size_t>(m_Said.size()), MSG_NOSIGNAL);
            shutdown(client, SHUT_WR);
            m_Said.clear();
            m_Client = kj::mv(client); // what he is told would be lost if he were left now
        }
    }

    const QTemporaryDir m_Folder{QStringLiteral("/dev/shm/velsql-fuzz-XXXXXX")};
    const ListeningSocket m_Socket{m_Folder.filePath(QStringLiteral("server.sock"))};
    const std::shared_ptr<KjLoop> m_Loop = KjLoop::OfThisThread();
    kj::UnixEventPort::FdObserver m_Observer{m_Loop->Port(), m_Socket.Descriptor(),
                                             kj::UnixEventPort::FdObserver::OBSERVE_READ};
    kj::Promise<void> m_Accepting = kj::READY_NOW;
    QByteArray m_Said;
    kj::AutoCloseFd m_Client;
};

struct Listener : ControllerEvents
{
    void OnChangeState(qint32) override {}
    void OnChangeItem(const ItemRef& item) override
    {
        if (item) item->get_Name();
    }
};

void ReadItem(VelSQLEngine& engine)
{
    const ControllerRef plc = engine.get_Controller(Variant(QStringLiteral("PLC1")));
    const ItemRef item = plc->get_Item(Variant(QStringLiteral("D100")));
    const std::function<void()> calls[] = {[&] { item->get_Value(); },    [&] { item->get_Tag(); },
                                           [&] { item->get_ID(); },       [&] { item->get_DateTime(); },
                                           [&] { item->get_State(); },    [&] { item->get_Name(); },
                                           [&] { item->get_LinkItem(); }, [&] { plc->get_ItemNames(); }};
    for (const auto& call : calls) {
        try {
            call();
        } catch (const DescribedError&) { // the next one may succeed
        }
    }
}

void Query(VelSQLEngine& engine)
{
    const ResultSetRef result = engine.get_History()->Execute(QStringLiteral("select 1"));
    result->Columns();
    result->Progress();
    const ResultPageRef page = result->PageOf(0);
    for (qint32 row = 0; row < std::min(page->RowCount(), 10); ++row) page->Cell(row, 0);
}

void Watch(VelSQLEngine& engine)
{
    Listener listener;
    const ControllerRef plc = engine.get_Controller(Variant(QStringLiteral("PLC1")));
    const EventSubscriptionRef subscription = plc->Subscribe(listener);
    plc->Stop();
    plc->Start();
    for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    static const QCoreApplication app(argc, argv);
    static Server server;
    constexpr void (*uses[])(VelSQLEngine&) = {&ReadItem, &Query, &Watch};
    if (size < 2) return 0;
    // Under the sanitizers it takes seconds to give back memory for a message that is claimed and never comes.
    constexpr size_t mostClaimed = 1024 * 1024;
    if (LengthOfMessage(MessagesIn({bytes, size - 1}).back()) > mostClaimed) return 0;
    server.WillSay(BytesOf(bytes, size - 1));
    try {
        RemoteLibrary library(server.Path(), QString());
        const EngineRef engine = library.AttachEngine();
        uses[bytes[size - 1] % std::size(uses)](*engine);
    } catch (const DescribedError&) {
    }
    server.Forget();
    return 0;
}
