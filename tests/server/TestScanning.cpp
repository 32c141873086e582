#include "server/PlantScanner.h"
#include "tests/server/TestClient.h"
#include "tests/server/TestPlant.h"

#include <QThread>

#include <gtest/gtest.h>

namespace {

constexpr auto OneItem = ItemPass::Clock::time_point::min();

void AddCounters(PlantController& controller, const QStringList& names)
{
    for (const QString& name : names)
        controller.Add({.Name = name, .Type = VT_I4}, std::make_unique<CounterSignal>(1, 1e6, 1));
}

/// Is asked, and answers when the test says so.
class AskedSource : public Source
{
public:
    struct Variable : SourceVariable
    {
        explicit Variable(Source& source)
            : Of(source)
        {
        }
        Source* Owner() const override { return &Of; }
        Source& Of;
    };

    using Source::Source;
    SourceVariableRef Bind(const VariableText&) override { return std::make_unique<Variable>(*this); }
    void Read(std::vector<SourceVariable*> variables, std::function<void()>) override { Asked.push_back(variables[0]); }
    void Write(SourceVariable&, const Variant&, Written) override {}
    QString Describe() const override { return Name(); }

    std::vector<SourceVariable*> Asked;
};

/// Needs a millisecond for each event.
class SlowObserver : public ControllerObserver
{
public:
    qsizetype Seen = 0;

private:
    void StateChanged(qint32) override {}
    void ItemChanged(const PlantItemRef&) override
    {
        QThread::msleep(1);
        ++Seen;
    }
};

/// Keeps the loop busy.
kj::Promise<void> CallWithoutPause(qint64& calls)
{
    return kj::evalLater([&calls] { return CallWithoutPause(++calls); });
}

} // namespace

TEST(ItemPassTest, AScanLeavesOutWhatASnapshotStillAsksFor)
{
    TestPlant plant;
    const auto source = std::make_shared<AskedSource>(u"slow"_s);
    PlantController& controller = *plant.Add({.Name = u"A"_s, .Device = source});
    controller.Add({.Name = u"a"_s}, source->Bind({}));
    plant.Begin();
    ReadAll(controller, 0);
    ReadAll(controller);
    source->Asked[0]->Answer(Variant(1), {});
    ReadAll(controller, 0);
    EXPECT_EQ(source->Asked.size(), 2U);
    source->Asked[1]->Answer(Variant(2), {});
    ReadAll(controller, 0);
    EXPECT_EQ(source->Asked.size(), 3U);
}

TEST(ItemPassTest, ReadsEachItemOnceThoughOthersComeAndGoAndEndsWithStop)
{
    TestPlant plant;
    PlantController& controller = *plant.Add({.Name = u"A"_s, .SortsItems = true});
    AddCounters(controller, {u"b"_s, u"d"_s, u"f"_s, u"g"_s, u"h"_s, u"k"_s});
    plant.Begin();
    NotingObserver observer(controller);
    ItemPass scan(controller, 0), snapshot(controller);
    EXPECT_FALSE(scan.Continue(OneItem));
    controller.AddInPlace({.Name = u"a"_s}, nullptr, nullptr);
    EXPECT_FALSE(scan.Continue(OneItem));
    for (const QString& name : {u"b"_s, u"f"_s}) controller.Remove(name);
    controller.Item(u"g"_s)->PutActivation(false);
    for (int i = 0; i < 2; ++i) EXPECT_FALSE(scan.Continue(OneItem));
    EXPECT_EQ(observer.Seen.join(u' '), u"b=3,1 d=3,1 h=3,1");
    controller.Stop();
    controller.Start();
    EXPECT_TRUE(scan.Continue(OneItem)) << "cut short";
    EXPECT_TRUE(snapshot.Continue(ItemPass::Clock::time_point::max())) << "whatever the state";
    EXPECT_EQ(observer.Seen.mid(3).join(u' '), u"state 2 state 1 d=3,2 h=3,2 k=3,1");
}

TEST(PlantScannerTest, LongScansLeaveTheLoopToOthersAndOthersLeaveItToThem)
{
    auto& io = TestLoop();
    io.waitScope.setBusyPollInterval(64);
    TestPlant plant;
    PlantController& large = *plant.Add({.Name = u"Large"_s, .ScanTimes = {1, 0, 0}});
    PlantController& small = *plant.Add({.Name = u"Small"_s, .ScanTimes = {1, 0, 0}});
    for (int i = 0; i < 100; ++i) AddCounters(large, {QString::number(i)});
    AddCounters(small, {u"0"_s});
    SlowObserver observer;
    large.AddObserver(observer);
    const auto count = [](const PlantController& controller, qsizetype i) {
        return controller.Items()[i]->LastValue().Get<qint32>();
    };
    PlantScanner scanner(io.provider->getTimer());
    plant.Begin();
    scanner.Start(plant);
    qint64 calls = 0;
    auto calling = CallWithoutPause(calls).eagerlyEvaluate(nullptr);
    ASSERT_TRUE(WaitUntil([&] { return observer.Seen >= 250; }));
    EXPECT_GT(count(small, 0), 2 * count(large, 0)) << "it had turns while the large one was being scanned";
    EXPECT_GT(calls, 250);
    EXPECT_LE(count(large, 0) - count(large, 99), 1) << "never two scans at once";
    plant.Stop();
    const qsizetype before = observer.Seen;
    auto dropped = scanner.Snapshot({plant.Controllers()}).eagerlyEvaluate(nullptr);
    dropped = nullptr;
    Wait(scanner.Snapshot({plant.Controllers()}));
    EXPECT_EQ(observer.Seen - before, 100) << "of the stopped scan and the unwanted snapshot nothing more";
    calling = nullptr;
    large.RemoveObserver(observer);
    io.waitScope.setBusyPollInterval(kj::maxValue);
}
