#include "controller/EventList.h"
#include "core/modMain.h"
#include "mainwindow/LinkBand.h"
#include "mainwindow/Start.h"
#include "tests/soak/SoakFaults.h"
#include "tests/soak/SoakMemory.h"
#include "tests/support/PrivateSshd.h"
#include "tests/system/SystemConsole.h"
#include "velsqllib/RemoteLink.h"

#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <random>
#include <thread>

namespace {

/// The longest time for which a call may hold the console, and until open windows show the server again, beyond what
/// two bare ssh take at that moment, both in milliseconds.
constexpr qint64 LongestCall = 6000;
constexpr qint64 LongestRecovery = 2000;
/// What faults may add to the heap, once and each hundred of them, in KiB.
constexpr qint64 MostOnce = 300;
constexpr qint64 MostGrowth = 400;
constexpr int PatienceMs = 60'000;

qint64 Now()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// A console with open windows on the server of another machine, while whatever stands between them dies, hangs and
/// comes back; soak.sh says how often.
class SoakLinks : public SystemConsole
{
protected:
    void StartOn(const QString& host)
    {
        m_Host = host;
        m_Machine.LinkTo(host);
        m_Library = std::make_unique<RemoteLibrary>();
        m_Main.reset();
        m_Services.reset(new ConsoleServices{*m_Library, *this});
        m_Main = StartConsole(*m_Services);
        ASSERT_TRUE(m_Main);
        m_Band = new LinkBand(*m_Main, [] {
            const RemoteLink link = RemoteLink::Read(qEnvironmentVariable(RemoteLink::Variable));
            return LinkBand::State{link.Place, link.Trouble, link.IsUp};
        });
        for (const QStringView key : {u"VelSQLEngine", u"VelSQLEngine\\Archive", u"VelSQLEngine\\VelSQLHistory"})
            Show(key);
        OpenEveryWindow(Node(u"VelSQLEngine\\Kiln"));
        ChildWindow& kiln = Show(u"VelSQLEngine\\Kiln");
        Tick(kiln, "chkEvent_0");
        Tick(kiln, "chkEvent_1");
        m_Events = &Control<EventList>(kiln, "lstLogEvent");
    }
    void CloseAll()
    {
        m_Main.reset();
        m_Services.reset();
        m_Library.reset();
        m_Machine.EndLink();
        EXPECT_TRUE(
            QTest::qWaitFor([this] { return m_Machine.Ssh().isEmpty() && m_Machine.Bridges().isEmpty(); }, PatienceMs));
        m_Faults.EndServers();
        EXPECT_EQ(QDir(m_Machine.RuntimeHere()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    }

    /// The turns of the event loop are watched from now on: what holds one is a call that hangs.
    void Watch()
    {
        m_Turn.start();
        connect(&m_Beat, [this] { m_LongestTurn = std::max(m_LongestTurn, m_Turn.restart()); });
        connect(&m_Calls, [] {
            if (!modMain::Engine) return; // between two consoles
            try {
                modMain::Engine->get_Controller(Variant(u"Kiln"_s))->get_State();
            } catch (const ServerError& error) {
                EXPECT_FALSE(error.Description().isEmpty());
            }
        });
        m_Beat.start(10);
        m_Calls.start(170);
        m_LinkWatch = std::jthread([this](const std::stop_token& stop) {
            for (bool was = false; !stop.stop_requested(); std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
                const bool is = RemoteLink::Read(qEnvironmentVariable(RemoteLink::Variable)).IsUp;
                if (is && !was) m_UpSince = Now();
                was = is;
            }
        });
    }
    template <typename Slot>
    static void connect(QTimer* timer, Slot slot)
    {
        QObject::connect(timer, &QTimer::timeout, timer, slot);
    }

    bool HasRecovered()
    {
        if (!RemoteLink::Read(qEnvironmentVariable(RemoteLink::Variable)).IsUp) return false;
        const auto& forms = ChildWindow::Forms();
        return std::none_of(forms.begin(), forms.end(), [](const ChildWindow* form) {
            const auto* grid = form->findChild<PropertyGrid*>();
            return grid && (grid->HasFailedRows() || !grid->WhyUnread(0).isNull());
        });
    }
    /// Events come again to the window that asked for them long ago.
    bool IsTold()
    {
        m_Events->Clear();
        try {
            Ask(u"fire Kiln item Heat 3"_s);
        } catch (const ServerError&) {
            return false;
        }
        return QTest::qWaitFor([this] { return m_Events->ListCount() >= 3; }, 2000);
    }
    /// How long a bare ssh takes now: no link can be there earlier.
    qint64 BareSshMs() const
    {
        QElapsedTimer time;
        time.start();
        QProcess::execute(u"ssh"_s, {u"-T"_s, m_Host, u"true"_s});
        return time.elapsed();
    }
    void Meet(const SoakFault& fault, int number)
    {
        m_LongestTurn = 0;
        m_Turn.start();
        const int pause = std::uniform_int_distribution(fault.PauseMs.first, fault.PauseMs.second)(m_Random);
        fault.Happen();
        std::atomic<qint64> mended = Now();
        std::jthread mend([&] {
            if (!fault.Mend) return;
            std::this_thread::sleep_for(std::chrono::milliseconds(pause));
            fault.Mend();
            mended = Now();
        });
        QTest::qWait(std::max(pause, 300)); // what has happened is known
        mend.join();
        if (m_Machine.Sshd().isEmpty()) {
            m_Machine.Start();
            mended = Now();
        }
        const bool recovered = QTest::qWaitFor([this] { return HasRecovered(); }, PatienceMs);
        ASSERT_TRUE(recovered) << fault.Name << ": " << m_Band->Text().toStdString();
        const qint64 now = Now(), up = std::clamp<qint64>(m_UpSince, mended, now), turn = m_LongestTurn;
        CheckAfter(fault.Name);
        const qint64 bareSsh = BareSshMs();
        EXPECT_LE(now - mended, LongestRecovery + 2 * bareSsh) << fault.Name;
        EXPECT_LE(turn, LongestCall) << fault.Name;
        std::cout << number << ' ' << fault.Name << ", " << pause << " ms: link back after " << up - mended
                  << " ms, windows " << now - up << " ms later, bare ssh " << bareSsh << " ms, longest turn " << turn
                  << " ms, heap " << HeapInUse() << " KiB, launcher " << ResidentOf(m_Machine.m_Launcher.processId())
                  << " KiB" << std::endl;
        TakeLog();
    }
    void CheckAfter(const char* fault)
    {
        ASSERT_TRUE(QTest::qWaitFor([this] { return IsTold(); }, PatienceMs)) << fault << ": no events";
        const qsizetype each = m_Host == u"behind"_s ? 2 : 1;
        const auto isOne = [&] { return m_Machine.Ssh().size() == each && m_Machine.Bridges().size() == 1; };
        EXPECT_TRUE(QTest::qWaitFor(isOne, PatienceMs))
            << fault << ": " << m_Machine.Ssh().size() << " ssh, " << m_Machine.Bridges().size() << " bridges";
        EXPECT_FALSE(QDir(m_Machine.RuntimeHere() + u"/velsql"_s).exists()) << fault << ": a server is started here";
    }
    PrivateSshd m_Machine;
    QString m_Host;
    LinkBand* m_Band = nullptr;
    EventList* m_Events = nullptr;
    std::mt19937 m_Random;
    SoakFaults m_Faults{m_Machine, m_Random};
    QTimer m_Beat, m_Calls;
    QElapsedTimer m_Turn;
    qint64 m_LongestTurn = 0;
    std::atomic<qint64> m_UpSince = 0;
    std::jthread m_LinkWatch;
};

} // namespace

TEST_F(SoakLinks, EveryFaultPasses)
{
    const int count = qEnvironmentVariableIntValue("VELSQL_SOAK_FAULTS");
    ASSERT_GT(count, 0) << "VELSQL_SOAK_FAULTS says how many faults; soak.sh sets it";
    const int given = qEnvironmentVariableIntValue("VELSQL_SOAK_SEED");
    const auto seed = given ? static_cast<unsigned>(given) : std::random_device()();
    std::cout << "seed " << seed << std::endl;
    m_Random.seed(seed);
    const std::vector<SoakFault> faults = m_Faults.All();
    std::vector<int> weights;
    for (const SoakFault& fault : faults) weights.push_back(fault.Weight);
    std::discrete_distribution<std::size_t> which(weights.begin(), weights.end());
    Watch();
    for (const QString& host : {u"plant"_s, u"behind"_s}) {
        StartOn(host);
        qint64 first = 0;
        for (int i = 0; i < count / 2 && !HasFatalFailure(); ++i) {
            Meet(faults[which(m_Random)], i + 1);
            if (i == count / 10) first = HeapInUse();
        }
        EXPECT_LT(HeapInUse() - first, MostOnce + MostGrowth * count / 2 / 100) << "KiB";
        CloseAll();
    }
}
