#include "core/automation/Errors.h"
#include "core/modMain.h"
#include "tests/soak/ConsoleActions.h"
#include "tests/soak/LoopWatch.h"
#include "tests/soak/ServerTroubles.h"
#include "tests/soak/SoakMemory.h"
#include "tests/soak/WindowsSeen.h"
#include "tests/system/SystemConsole.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QPixmapCache>

#include <iostream>

namespace {

/// A console lives for so many rounds at most; then it is left, and the heap is looked at.
constexpr int RoundsOfAConsole = 25;
/// The longest time in which a console comes to rest, and finds the server again.
constexpr int PatienceMs = 20'000;
/// What a round may add to the heap that is left when a console has gone, in KiB.
constexpr double MostGrowth = 16;

/// A console that is worked by keys and mouse, without plan or mercy, while its server has troubles.
class SoakConsole : public SystemConsole
{
protected:
    QMessageBox::StandardButton ShowBox(QMessageBox& box) override
    {
        if (m_IsGoing) return Platform::ShowBox(box);
        ADD_FAILURE() << box.text().toStdString(); // nobody is there to answer it
        return QMessageBox::Ok;
    }
    void SetPriorityClass(quint32) override {}
    void OutputDebugString(const QString&) override {}
    QString WritableProgramFolder() override { return m_Folder.path(); }
    void OpenInBrowser(const QUrl&, const std::function<void()>& orElse) override
    {
        if (m_Hand.OneIn(2)) orElse();
    }

    void Prepare(unsigned seed)
    {
        m_Seed = seed;
        // What the platform without a screen says of itself each time.
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
            if (!text.startsWith(u"This plugin does not support"_s)) std::cerr << text.toStdString() << std::endl;
            if (type == QtFatalMsg) std::abort();
        });
        QFile batch(BatchFile());
        ASSERT_TRUE(batch.open(QIODevice::WriteOnly));
        batch.write(QByteArray("D100,3,120\n").repeated(3000));
        m_Troubles.Start();
        Open();
    }
    QString BatchFile() const { return m_Folder.filePath(u"batch.txt"_s); }

    void Open()
    {
        StartConsoleWith(QString());
        ASSERT_TRUE(m_Main);
        m_Main->resize(1100, 750);
    }
    /// The console has been left; what it had is given back.
    void Reopen()
    {
        m_Main.reset();
        m_Services.reset();
        m_Library.reset();
        QPixmapCache::clear();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_Heap << std::pair(m_Round, HeapInUse());
        Open();
    }

    /// Goes on by itself in whatever loop the console runs: that of a dialog, of a measurement, of a drag.
    void Step()
    {
        if (!m_IsGoing) return;
        QTimer::singleShot(m_Hand.OneIn(40) ? 150 : 1, &m_Context, [this] { Step(); });
        if (m_Hand.IsBusy()) return;
        if (!m_Main->isVisible()) m_Left = 0;
        if (m_Left == 0 && IsAtRest()) return EndWhenTroublesAreOver();
        m_Seen.Look();
        m_Hand.LetGo();
        if (!QApplication::activePopupWidget()) m_Hand.FocusFront();
        const auto doing = [this](const char* what) { m_Watch.Doing(what); };
        if (m_Left > 0) {
            --m_Left;
            m_Actions.DoOne(doing);
        } else if (m_SinceLast.elapsed() > 20) {
            doing("come to rest");
            m_Actions.ComeToRest();
            m_SinceLast.start();
        }
    }
    bool IsAtRest() const
    {
        return m_Hand.IsIdle() && !QApplication::activePopupWidget() && !QApplication::activeModalWidget() &&
               !QWidget::mouseGrabber();
    }
    void EndWhenTroublesAreOver()
    {
        if (!m_Troubles.AreOver()) return;
        m_IsGoing = false;
        m_Loop.quit();
    }

    void Round()
    {
        m_Random.seed(m_Seed + static_cast<unsigned>(m_Round));
        BeginTrouble();
        m_Left = 8 + m_Hand.Number(14);
        m_IsGoing = true;
        m_SinceLast.start();
        QTimer late;
        late.callOnTimeout([this] { qFatal("The console does not come to rest: %s", qPrintable(WhatWaits())); });
        late.start(PatienceMs * 4);
        QTimer::singleShot(0, &m_Context, [this] { Step(); });
        m_Loop.exec();
        ++m_Round;
        if (!m_Main->isVisible()) return Reopen();
        CheckAtRest();
        if (m_Round % RoundsOfAConsole == 0) {
            m_Watch.Doing("leave the console");
            m_Actions.Leave();
            EXPECT_FALSE(m_Main->isVisible());
            Reopen();
        }
    }
    QString WhatWaits() const
    {
        const auto classOf = [](const QWidget* widget) {
            return widget ? QString::fromLatin1(widget->metaObject()->className()) : u"none"_s;
        };
        return u"round %1, pop-up %2, dialog %3, focus %4, hand %5, trouble %6"_s.arg(
            QString::number(m_Round), classOf(QApplication::activePopupWidget()),
            classOf(QApplication::activeModalWidget()), classOf(QApplication::focusWidget()),
            m_Hand.IsIdle() ? u"idle"_s : u"busy"_s, m_Troubles.AreOver() ? u"over"_s : u"on"_s);
    }
    void BeginTrouble()
    {
        int weights = 0;
        for (const SoakFault& trouble : m_Troubles.All()) weights += trouble.Weight;
        int left = m_Hand.Number(weights);
        auto trouble = m_Troubles.All().begin();
        while ((left -= trouble->Weight) >= 0) ++trouble;
        ++m_TroubleCounts[QString::fromLatin1(trouble->Name)];
        const auto [shortest, longest] = trouble->PauseMs;
        m_Troubles.Begin(*trouble, m_Hand.Number(150), shortest + m_Hand.Number(longest - shortest + 1),
                         m_Hand.Number(100));
    }
    void CheckAtRest()
    {
        EXPECT_FALSE(Panels()[0].endsWith(u"..."_s)) << "round " << m_Round << ": " << Panels()[0].toStdString();
        m_Watch.Doing("close all windows");
        m_Actions.CloseAllWindows();
        EXPECT_TRUE(ChildWindow::Forms().isEmpty()) << "round " << m_Round;
        m_Actions.ClearLog();
        m_Watch.Doing("find the server again");
        EXPECT_TRUE(QTest::qWaitFor([this] { return IsAnswered(); }, PatienceMs)) << "round " << m_Round;
        EXPECT_EQ(Panels()[0], u"Ready."_s) << "round " << m_Round;
        const auto& tree = Control<ObjectTreeView>(*m_Main, "treeObject");
        EXPECT_TRUE(QTest::qWaitFor([&] { return !tree.IsDimmed(); }, PatienceMs)) << "round " << m_Round;
    }
    static bool IsAnswered()
    {
        try {
            return Ask(u"echo there"_s) == u"there"_s;
        } catch (const ServerError&) {
            return false;
        }
    }

    /// KiB a round, since a third of them, when caches are full.
    double Growth() const
    {
        const auto first =
            std::find_if(m_Heap.begin(), m_Heap.end(), [this](const auto& at) { return at.first >= m_Round / 3; });
        if (first == m_Heap.end() || first->first == m_Heap.last().first) return 0;
        return static_cast<double>(m_Heap.last().second - first->second) / (m_Heap.last().first - first->first);
    }
    void Tell(qint64 elapsedMs)
    {
        std::cout << m_Round << " rounds in " << elapsedMs / 1000 << " s, seed " << m_Seed << "; consoles "
                  << m_Heap.size() + 1 << "; longest answer " << m_Watch.LongestMs() << " ms ("
                  << m_Watch.DuringLongest() << "); heap without a console " << m_Heap.last().second << " KiB, "
                  << Growth() << " KiB a round" << std::endl;
    }
    void TellCounts()
    {
        for (const ConsoleActions::Action& action : m_Actions.All())
            std::cout << "  " << action.Count << "  " << action.Name << '\n';
        std::cout << "  " << m_Actions.Answers() << "  " << ConsoleActions::AnswerName << "\ntroubles:\n";
        for (const auto& [name, count] : m_TroubleCounts.asKeyValueRange())
            std::cout << "  " << count << "  " << name.toStdString() << '\n';
        std::cout << "seen:\n";
        for (const auto& [name, count] : m_Seen.Counts().asKeyValueRange())
            std::cout << "  " << count << "  " << name.toStdString() << '\n';
        std::cout << std::flush;
    }

    const QTemporaryDir m_Folder;
    std::mt19937 m_Random;
    unsigned m_Seed = 0;
    int m_Round = 0;
    int m_Left = 0;
    bool m_IsGoing = false;
    QElapsedTimer m_SinceLast;
    QObject m_Context;
    QEventLoop m_Loop;
    ConsoleHand m_Hand{m_Random};
    ConsoleActions m_Actions{m_Hand, BatchFile()};
    ServerTroubles m_Troubles{m_Server};
    WindowsSeen m_Seen;
    QMap<QString, int> m_TroubleCounts;
    QList<std::pair<int, qint64>> m_Heap;
    LoopWatch m_Watch;
};

} // namespace

TEST_F(SoakConsole, AnswersWhateverIsDoneToItAndItsServer)
{
    const int rounds = qEnvironmentVariableIntValue("VELSQL_SOAK_ROUNDS");
    ASSERT_GT(rounds, 0) << "VELSQL_SOAK_ROUNDS says how many; soak.sh sets it";
    const int given = qEnvironmentVariableIntValue("VELSQL_SOAK_SEED");
    Prepare(given ? static_cast<unsigned>(given) : std::random_device()());
    QElapsedTimer time;
    time.start();
    while (m_Round < rounds && !HasFailure()) {
        Round();
        if (m_Round % 50 == 0 && !m_Heap.isEmpty()) Tell(time.elapsed());
    }
    TellCounts();
    EXPECT_LT(Growth(), MostGrowth) << "KiB a round";
    if (rounds >= 200) {
        EXPECT_EQ(m_Seen.Missing(), QStringList());
    }
    m_Main.reset();
    m_Services.reset();
    m_Library.reset();
    EXPECT_TRUE(WaitUntilNothingIsHeld());
}
