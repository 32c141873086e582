#include "core/automation/SafeArray.h"
#include "tests/server/DocTables.h"
#include "tests/server/TestPlant.h"

namespace {

/// Two controllers; items are made as the tests need them, in "A". What definitions can say is tested with them.
class PlantItemTest : public ::testing::Test
{
protected:
    PlantItemRef Add(const QString& name, ItemTraits traits = {}, SignalRef signal = nullptr)
    {
        traits.Name = name;
        return m_First.Add(std::move(traits), std::move(signal));
    }
    /// Counts from 1 to 9.
    PlantItemRef AddCounter(const QString& name, ItemTraits traits = {})
    {
        traits.Type = VT_I4;
        return Add(name, std::move(traits), std::make_unique<CounterSignal>(1, 9, 1));
    }

    TestPlant m_Plant;
    PlantController& m_First = *m_Plant.Add({.Name = u"A"_s, .StartsActive = false});
    PlantController& m_Second = *m_Plant.Add({.Name = u"B\\C"_s, .SortsItems = true});
};

QString TextOf(const PlantItemRef& item)
{
    return WriteTypedText(item->Value());
}

QString RefusalOf(const QString& item, const QString& reason)
{
    return u"Item \"%1\" of controller \"A\": %2."_s.arg(item, reason);
}

} // namespace

TEST_F(PlantItemTest, OnlyActiveControllersScanAndOnlyTheirClass)
{
    const PlantItemRef fast = AddCounter(u"fast"_s);
    AddCounter(u"slow"_s, {.Historic = true, .ScanClass = 2});
    const PlantItemRef off = AddCounter(u"off"_s, {.Historic = true, .Active = false});
    NotingObserver observer(m_First);
    m_Plant.Begin();
    ReadAll(m_First, 0);
    EXPECT_TRUE(fast->Value().IsEmpty());
    ReadAll(m_First);
    for (int i = 0; i < 2; ++i) m_Plant.Start();
    m_Plant.Pass(1250);
    ReadAll(m_First, 0);
    m_First.Stop();
    ReadAll(m_First, 0);
    m_Plant.Terminate();
    EXPECT_EQ(observer.Seen.join(u' '), u"fast=3,1 slow=3,1 state 1 fast=3,2 state 2 state 4");
    EXPECT_EQ(m_Plant.Recorded, QStringList(u"slow=3,1"_s));
    EXPECT_EQ(MicrosecondsOf(fast->Time()), 250'000);
    off->PutValue(50);
    off->Snapshot();
    EXPECT_EQ(TextOf(off), u"3,50") << "it keeps what is written";
}

TEST_F(PlantItemTest, SignalsStayWithinTheirTypeAndLimits)
{
    EXPECT_EQ(CounterSignal(0, 3, 1, 6).Next(0, VT_I4), Variant(2)) << "of a later element, turned round as well";
    EXPECT_EQ(ClampTo(1e300, VT_CY).Type() + ClampTo(-1e9, VT_DATE).Type(), VT_CY + VT_DATE);
    CounterSignal counter(250, 300, 10);
    QString counted;
    for (int i = 0; i < 7; ++i) counted += WriteTypedText(counter.Next(0, i < 2 ? VT_UI1 : VT_I2)) + u' ';
    EXPECT_EQ(counted, u"17,250 17,255 2,270 2,280 2,290 2,300 2,250 ") << "at the end of the type's range";
    PeriodicSignal sine(WaveForm::Sine, {-10, 10, 4, 0}), square(WaveForm::Square, {0, 1, 4, 0}),
        ramp(WaveForm::Ramp, {0, 100, 4, 0.5});
    const std::tuple<Signal&, double, Variant> cases[] = {
        {sine, 1, 10.0}, {sine, 3, -10.0}, {square, 1.9, 1.0}, {square, 2.1, 0.0}, {ramp, 1, 75.0}};
    for (const auto& [signal, seconds, value] : cases) EXPECT_EQ(signal.Next(seconds, VT_R8), value) << seconds;
    RandomWalkSignal walk(0, 1, 0.4, 7), same(0, 1, 0.4, 7);
    for (int i = 0; i < 1000; ++i) {
        const double value = walk.Next(0, VT_R8).Get<double>();
        ASSERT_TRUE(value >= 0 && value <= 1 && same.Next(0, VT_R8) == Variant(value)) << value;
    }
}

TEST_F(PlantItemTest, LinksCarryValuesBothWays)
{
    const PlantItemRef linked = m_Second.Add({.Name = u"Y"_s, .Type = VT_I4, .Initial = 5});
    const PlantItemRef link = Add(u"X"_s, {.Type = VT_BSTR, .Links = {u"B\\C\\Y"_s}});
    const auto both = [&] { return TextOf(link) + u' ' + TextOf(linked); };
    link->Snapshot();
    EXPECT_EQ(both(), u"8,5 3,5");
    link->PutValue(u"7"_s);
    for (const PlantItemRef& item : {link, Add(u"Z"_s, {.Links = {u"X"_s}})})
        EXPECT_EQ(OutcomeOf([&] { item->PutValue(u"x"_s); }),
                  u"Item \"Y\" of controller \"B\\C\": VT_I4: \"x\" is not a number.")
            << "however far it came";
    EXPECT_EQ(both(), u"8,7 3,7");
    link->PutLinkActivation(false);
    link->PutValue(u"9"_s);
    link->Snapshot();
    EXPECT_EQ(both(), u"8,9 3,7") << "the link rests";
    link->PutLinkActivation(true);
    m_Second.Remove(u"Y"_s);
    EXPECT_EQ(OutcomeOf([&] { link->Snapshot(); }), RefusalOf(u"X"_s, u"the linked item \"B\\C\\Y\" does not exist"_s));
    const PlantItemRef locked = Add(u"L"_s, {.Attribute = Access::ReadOnly});
    EXPECT_EQ(OutcomeOf([&] { locked->PutValue(1); }), RefusalOf(u"L"_s, u"it is read only and cannot be written"_s));
}

TEST_F(PlantItemTest, EndlessLinksFailForEveryKindOfItem)
{
    Add(u"0"_s, {.Initial = 1});
    for (int i = 1; i <= 17; ++i) Add(QString::number(i), {.Links = {QString::number(i - 1)}});
    m_First.Item(u"16"_s)->PutValue(5);
    m_First.Item(u"16"_s)->Snapshot();
    for (const ItemKind kind : {ItemKind::Normal, ItemKind::Alias, ItemKind::Array}) {
        const PlantItemRef round = Add(u"Round"_s, {.Kind = kind, .Links = {u"Circle"_s}}),
                           circle = Add(u"Circle"_s, {.Kind = kind, .Links = {u"Round"_s}}),
                           aside = Add(u"Aside"_s, {.Kind = kind, .Links = {u"Circle"_s}});
        for (const PlantItemRef& item : {round, circle, aside, m_First.Item(u"17"_s)}) {
            for (const QString& outcome : {OutcomeOf([&] { item->Snapshot(); }),
                                           OutcomeOf([&] { item->PutValue(SafeArray(QList<qint32>({1}))); })})
                EXPECT_TRUE(outcome.endsWith(u": its links go in a circle or over more than 16 items."))
                    << outcome.toStdString();
        }
        round->PutLinkActivation(false);
        EXPECT_EQ(OutcomeOf([&] { aside->Snapshot(); }), u"done") << "cut open";
        for (const PlantItemRef& item : {round, circle, aside}) m_First.Remove(item->Name());
    }
}

TEST_F(PlantItemTest, ArraysOfArraysStayWithinBounds)
{
    Add(u"0"_s, {.Initial = 1});
    for (int i = 1; i <= 8; ++i)
        Add(QString::number(i), {.Kind = ItemKind::Array, .Links = QStringList(10, QString::number(i - 1))});
    NotingObserver observer(m_First);
    ReadAll(m_First);
    const Variant held = m_First.Item(u"5"_s)->Value();
    EXPECT_EQ(OutcomeOf([&] { m_First.Item(u"6"_s)->Snapshot(); }),
              RefusalOf(u"6"_s, u"its value would be larger than 64 MB"_s));
    EXPECT_EQ(m_First.Item(u"7"_s)->Value().Array().Count(), 10) << "of no value";
    const qsizetype events = observer.Seen.size();
    ReadAll(m_First);
    EXPECT_EQ(observer.Seen.size(), events) << "nothing has changed";
    EXPECT_EQ(m_First.Item(u"5"_s)->Value().Get<SafeArrayRef>(), held.Get<SafeArrayRef>()) << "it is the same block";
    Variant nested = 1;
    for (int i = 0; i < 16; ++i) nested = SafeArray(QList<Variant>({nested}));
    m_First.Item(u"0"_s)->PutValue(nested);
    EXPECT_EQ(OutcomeOf([&] { m_First.Item(u"1"_s)->Snapshot(); }),
              RefusalOf(u"1"_s, u"its value would be nested more than 16 arrays deep"_s));
}

TEST_F(PlantItemTest, OneFailureEndsNeitherTheScanNorItsEvents)
{
    struct BrokenSignal : Signal
    {
        Variant Next(double, VarType) override { throw std::runtime_error("broken"); }
    };
    struct BrokenObserver : ControllerObserver
    {
        void StateChanged(qint32) override {}
        void ItemChanged(const PlantItemRef&) override { throw std::bad_alloc(); }
    } observer;
    m_First.AddObserver(observer);
    NotingObserver other(m_First);
    const PlantItemRef broken = Add(u"X"_s, {}, std::make_unique<BrokenSignal>());
    const PlantItemRef whole = AddCounter(u"Y"_s);
    for (int i = 0; i < 2; ++i) ReadAll(m_First);
    m_First.RemoveObserver(observer);
    EXPECT_EQ(static_cast<int>(broken->State()) * 10 + static_cast<int>(whole->State()), 10);
    EXPECT_EQ(other.Seen, QStringList({u"Y=3,1"_s, u"Y=3,2"_s}));
    const QString lost = u"An event of controller \"A\" was lost: Out of memory"_s;
    EXPECT_EQ(m_Plant.Warnings, QStringList({u"Scanning item \"X\" of controller \"A\" failed: broken"_s, lost, lost}));
}

TEST_F(PlantItemTest, DelayedWritesWaitAndFailQuietly)
{
    const PlantItemRef item = Add(u"X"_s, {.Type = VT_I4, .Initial = 1}), gone = Add(u"Y"_s);
    item->PutValueEx(200, 2);
    item->PutValueEx(300, u"x"_s);
    gone->PutValueEx(100, 3);
    m_First.Remove(u"Y"_s);
    QString values;
    for (const int milliseconds : {199, 1, 100}) {
        m_Plant.Pass(milliseconds);
        values += TextOf(item) + (item->State() == ItemState::Failed ? u" failed"_s : u" "_s);
    }
    EXPECT_EQ(values, u"3,1 3,2 3,2 failed");
    EXPECT_EQ(m_Plant.Warnings,
              QStringList(u"Delayed write: Item \"X\" of controller \"A\": VT_I4: \"x\" is not a number."_s));
    EXPECT_EQ(OutcomeOf([&] { item->PutValueEx(-1, 2); }), RefusalOf(u"X"_s, u"the delay -1 is negative"_s));
    EXPECT_EQ(OutcomeOf([&] { gone->PutValueEx(0, 2); }), u"Item \"Y\" has been removed.");
}

TEST_F(PlantItemTest, ElementsAnswerWhatTheirIntegersSay)
{
    const PlantItemRef item = Add(u"X"_s, {.Initial = SafeArray(QList<qint32>({10, 11, 12, 13, 14}), 3)});
    for (const QStringList& row : TableBelow(u"What Elements answers"_s)) {
        const auto answer = [&] { return item->Elements(row[0].toInt(), row[1].toInt(), row[2].toInt()); };
        EXPECT_EQ(OutcomeOf(answer).section(u"\": "_s, -1), Expected(row[3])) << row.join(u'|').toStdString();
    }
}

TEST_F(PlantItemTest, AReadingThatFailsIsABreakInItsHistory)
{
    const PlantItemRef source = Add(u"S"_s, {.Initial = 1});
    const PlantItemRef item = Add(u"X"_s, {.Type = VT_I4, .Historic = true, .Links = {u"S"_s}});
    struct Step
    {
        Variant Value;
        QString Recorded;
    };
    // What cannot be converted is recorded once, with the value before; the same value then goes on.
    for (const Step& step : {Step{1, u"X=3,1"_s}, {u"none"_s, u"X=3,1"_s}, {u"no"_s, {}}, {1, u"X=3,1"_s}, {1, {}}}) {
        source->PutValue(step.Value);
        m_Plant.Pass(1000);
        ReadAll(m_First);
        EXPECT_EQ(std::exchange(m_Plant.Recorded, {}).join(u' '), step.Recorded)
            << WriteTypedText(step.Value).toStdString();
        EXPECT_EQ(item->Time(), m_Plant.Now().Wall) << "when it was tried";
    }
}

TEST_F(PlantItemTest, ByItsRuleAnItemRecordsOnlyWhatSaysSomething)
{
    using namespace std::chrono_literals;
    const PlantItemRef item = Add(u"X"_s, {.Historic = true, .Recorded = RecordRule{0.5, 10s}});
    const Variant nothing = std::numeric_limits<double>::quiet_NaN();
    struct Step
    {
        int Milliseconds;
        Variant Written;
        QString Recorded;
    };
    for (const Step& step : {Step{0, 10.0, u"X=5,10"_s},
                             {1000, 10.2, {}},
                             {1000, 10.4, {}},
                             {1000, 10.5, u"X=5,10.4 X=5,10.5"_s}, // and the one before
                             {1000, 10.1, {}},
                             {9000, 10.1, u"X=5,10.1"_s}, // nothing for 10 seconds
                             {5000, 10.1, {}},
                             {4990, 10.1, u"X=5,10.1"_s}, // a little early
                             {3000, 10.1, {}},
                             {3000, 10.1, {}},
                             {3000, 10.1, u"X=5,10.1"_s}, // the next one is too late
                             {1, true, u"X=11,True"_s},
                             {1, false, u"X=11,False"_s},
                             {1, u"a"_s, u"X=8,a"_s},
                             {1, u"a"_s, {}},
                             {1, nothing, u"X=8,a X=5,NaN"_s},
                             {-60'000, 3, u"X=3,3"_s},
                             {-60'000, 3, u"X=3,3"_s}}) { // the clock was set back
        m_Plant.Pass(step.Milliseconds);
        item->PutValue(step.Written);
        EXPECT_EQ(std::exchange(m_Plant.Recorded, {}).join(u' '), step.Recorded);
    }
}
