#include "tests/soak/ServerTroubles.h"

#include <QFile>

#include <iterator>

namespace {

/// In place of the demo plant, which comes first: items gone or of other types, other controllers, and hardly anything.
const char* const Plants[] = {
    "",
    R"([[controller]]
name = "PLC1"
[[controller.item]]
name = "D100"
type = "BSTR"
value = "twenty-five"
[[controller.item]]
name = "Level"
type = "ARRAY|R8"
signal = { form = "sine", low = 0, high = 1, period = 3, elements = 5 }
[[controller.item]]
name = "Picture"
type = "BOOL"
)",
    R"([[controller]]
name = "Line"
scan_times = [50, 50, 50]
[[controller.item]]
name = "Pump{001..300}"
type = "R4"
signal = { form = "random", low = 0, high = 9, step = 1, seed = "{n}" }
[[controller]]
name = "Archive"
[[controller.item]]
name = "Box [*] & more"
type = "BSTR"
value = "<b>x</b>"
)",
    "[[controller]]\nname = \"PLC1\"\n",
};

void Sleep(int milliseconds)
{
    QThread::msleep(static_cast<unsigned long>(milliseconds));
}

} // namespace

ServerTroubles::ServerTroubles(RealServer& server)
    : m_Server(server)
    , m_All({
          {"none", 40, {0, 0}, [] {}},
          {"killed", 6, {0, 400}, [this] { m_Server.Kill(); }, [this] { StartServer(); }},
          {"stopped shortly", 8, {20, 700}, [this] { m_Server.Suspend(); }, [this] { m_Server.Resume(); }},
          {"stopped", 1, {5500, 7000}, [this] { m_Server.Suspend(); }, [this] { m_Server.Resume(); }},
          {"slowed", 8, {100, 800}, [this] { Pulse(); }},
          {"ended", 4, {0, 300}, [this] { m_Server.Terminate(); }, [this] { StartServer(); }},
          {"killed while stopped",
           3,
           {50, 500},
           [this] { m_Server.Suspend(); },
           [this] {
               m_Server.Kill();
               StartServer();
           }},
          {"other plant",
           8,
           {0, 300},
           [this] { m_Server.Kill(); },
           [this] {
               m_Plant = m_NextPlant;
               StartServer();
           }},
      })
{
    for (std::size_t plant = 1; plant < std::size(Plants); ++plant) {
        QFile file(m_Plants.filePath(QString::number(plant)));
        if (!file.open(QIODevice::WriteOnly) || file.write(Plants[plant]) < 0) qFatal("no plant file");
    }
    m_Server.Process().moveToThread(&m_Thread);
    m_Thread.start();
}

ServerTroubles::~ServerTroubles()
{
    InThread(Qt::BlockingQueuedConnection, [this, here = QThread::currentThread()] {
        m_Server.Resume();
        m_Server.Kill();
        m_Server.Process().moveToThread(here);
    });
    m_Thread.quit();
    m_Thread.wait();
}

template <typename Action>
void ServerTroubles::InThread(Qt::ConnectionType how, Action action)
{
    QMetaObject::invokeMethod(&m_Server.Process(), action, how);
}

void ServerTroubles::Start()
{
    InThread(Qt::BlockingQueuedConnection, [this] { StartServer(); });
}

void ServerTroubles::StartServer()
{
    if (m_Plant == 0) m_Server.Start();
    else m_Server.Start({QStringLiteral("--plant"), m_Plants.filePath(QString::number(m_Plant))});
}

/// It comes to work for a moment only, again and again.
void ServerTroubles::Pulse()
{
    for (int i = 0; i < 12; ++i) {
        m_Server.Suspend();
        Sleep(40);
        m_Server.Resume();
        Sleep(5);
    }
}

void ServerTroubles::Begin(const SoakFault& trouble, int delayMs, int pauseMs, int plant)
{
    m_AreOver = false;
    InThread(Qt::QueuedConnection, [=, this, &trouble] {
        m_NextPlant = plant % static_cast<int>(std::size(Plants));
        Sleep(delayMs);
        trouble.Happen();
        if (trouble.Mend) {
            Sleep(pauseMs);
            trouble.Mend();
        }
        m_AreOver = true;
    });
}
