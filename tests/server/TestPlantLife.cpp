#include "core/automation/SafeArray.h"
#include "tests/server/TestPlant.h"
#include "tests/support/PrintQt.h"
#include "velsqllib/ValueText.h"

#include <gtest/gtest.h>

namespace {

/// Two controllers; items are made as the tests need them.
class PlantLifeTest : public ::testing::Test
{
protected:
    PlantItemRef Add(const QString& name, ItemTraits traits = {}, SignalRef signal = nullptr)
    {
        traits.Name = name;
        return First.Add(std::move(traits), std::move(signal));
    }
    static QString FailureOf(const std::function<void()>& action)
    {
        try {
            action();
            return QStringLiteral("succeeded");
        } catch (const DescribedError& error) {
            return error.Description();
        }
    }

    TestPlant Plant;
    PlantController& First = *Plant.World.Add({.Name = QStringLiteral("A"), .StartsActive = false});
    PlantController& Second = *Plant.World.Add({.Name = QStringLiteral("B\\C"), .SortsItems = true});
};

const QString s_X = QStringLiteral("X");
const QString s_Y = QStringLiteral("Y");

} // namespace

TEST_F(PlantLifeTest, StatesChangeAndAreTold)
{
    NotingObserver first(First);
    Plant.World.Begin();
    EXPECT_EQ(First.State(), 0);
    EXPECT_EQ(Second.State(), 1);
    Plant.World.Start();
    Plant.World.Start();
    First.Stop();
    Plant.World.Terminate();
    EXPECT_EQ(first.Seen,
              QStringList({QStringLiteral("state 1"), QStringLiteral("state 2"), QStringLiteral("state 4")}));
}

TEST_F(PlantLifeTest, OnlyActiveControllersScanAndOnlyTheirClass)
{
    const PlantItemRef fast = Add(s_X, {.Type = VT_I4}, std::make_unique<CounterSignal>(1, 9, 1));
    const PlantItemRef slow = Add(s_Y, {.Type = VT_I4, .ScanClass = 2}, std::make_unique<CounterSignal>(1, 9, 1));
    First.Scan(0, Plant.Now());
    EXPECT_TRUE(fast->Value().IsEmpty());
    First.Snapshot();
    First.Start();
    Plant.Seconds = 1.25;
    First.Scan(0, Plant.Now());
    EXPECT_EQ(fast->Value(), Variant(2));
    EXPECT_EQ(slow->Value(), Variant(1));
    EXPECT_EQ(MicrosecondsOf(fast->Time()), 250'000);
}

TEST_F(PlantLifeTest, SignalsStayWithinTheirTypeAndLimits)
{
    CounterSignal counter(250, 300, 10);
    EXPECT_EQ(counter.Next(0, VT_UI1), Variant(quint8{250}));
    EXPECT_EQ(counter.Next(0, VT_UI1), Variant(quint8{255})) << "at the end of the type's range";
    PeriodicSignal sine(WaveForm::Sine, {-10, 10, 4, 0});
    PeriodicSignal square(WaveForm::Square, {0, 1, 4, 0});
    PeriodicSignal ramp(WaveForm::Ramp, {0, 100, 4, 0.5});
    EXPECT_EQ(sine.Next(1, VT_I2), Variant(qint16{10}));
    EXPECT_EQ(sine.Next(3, VT_I2), Variant(qint16{-10}));
    EXPECT_EQ(square.Next(1.9, VT_BOOL), Variant(true));
    EXPECT_EQ(square.Next(2.1, VT_BOOL), Variant(false));
    EXPECT_EQ(ramp.Next(1, VT_R8), Variant(75.0));
    RandomWalkSignal walk(0, 1, 0.4, 7);
    RandomWalkSignal same(0, 1, 0.4, 7);
    for (int i = 0; i < 1000; ++i) {
        const double value = walk.Next(0, VT_R8).Get<double>();
        ASSERT_TRUE(value >= 0 && value <= 1) << value;
        ASSERT_EQ(same.Next(0, VT_R8), Variant(value));
    }
}

TEST_F(PlantLifeTest, LinksCarryValuesBothWays)
{
    Second.Add({.Name = s_Y, .Type = VT_I4, .Initial = 5});
    const PlantItemRef link = Add(s_X, {.Type = VT_BSTR, .Links = {QStringLiteral("B\\C\\Y")}});
    link->Snapshot();
    EXPECT_EQ(link->Value(), Variant(QStringLiteral("5")));
    link->PutValue(QStringLiteral("7"));
    EXPECT_EQ(Second.Item(s_Y)->Value(), Variant(7));
    EXPECT_EQ(FailureOf([&] { link->PutValue(QStringLiteral("x")); }),
              QStringLiteral("Item \"Y\" of controller \"B\\C\": VT_I4: \"x\" is not a number."));
    EXPECT_EQ(link->State(), ItemState::Failed);
    EXPECT_EQ(link->Value(), Variant(QStringLiteral("7")));
    link->PutLinkActivation(false);
    link->PutValue(QStringLiteral("9"));
    link->Snapshot();
    EXPECT_EQ(Second.Item(s_Y)->Value(), Variant(7)) << "the link rests";
    EXPECT_EQ(link->Value(), Variant(QStringLiteral("9")));
    link->PutLinkActivation(true);
    Second.Remove(s_Y);
    EXPECT_EQ(FailureOf([&] { link->Snapshot(); }),
              QStringLiteral("Item \"X\" of controller \"A\": the linked item \"B\\C\\Y\" does not exist."));
}

TEST_F(PlantLifeTest, AliasArrayAndElementLinks)
{
    const PlantItemRef levels =
        Add(QStringLiteral("Levels"), {.Type = ArrayOf(VT_I2), .Initial = SafeArray(QList<qint16>({1, 2, 3}))});
    const PlantItemRef x = Add(s_X, {.Initial = 10});
    const PlantItemRef alias = Add(QStringLiteral("Alias"), {.Kind = ItemKind::Alias, .Links = {s_X}});
    const PlantItemRef element =
        Add(QStringLiteral("E"), {.Links = {QStringLiteral("Levels(1)")}, .ExtractsElement = true});
    const PlantItemRef array =
        Add(QStringLiteral("All"),
            {.Kind = ItemKind::Array, .Links = {s_X, QStringLiteral("Levels(2)")}, .ExtractsElement = true});
    EXPECT_EQ(alias->Value(), Variant(10)) << "without a scan";
    EXPECT_EQ(FailureOf([&] { array->Snapshot(); }),
              QStringLiteral("Item \"All\" of controller \"A\": the linked item \"X\" has no element 0."));
    x->PutValue(SafeArray(QList<Variant>({20})));
    element->PutValue(8);
    EXPECT_EQ(WriteTypedText(levels->Value()), QStringLiteral("8194,1,8,3"));
    array->Snapshot();
    EXPECT_EQ(WriteTypedText(array->Value()), QStringLiteral("8204,{3,20},{2,3}"));
    array->PutValue(SafeArray(QList<Variant>({21, 4})));
    EXPECT_EQ(WriteTypedText(levels->Value()) + WriteTypedText(alias->Value()),
              QStringLiteral("8194,1,8,48204,{3,21}"));
    EXPECT_EQ(FailureOf([&] { array->PutValue(SafeArray(QList<Variant>({1}))); }),
              QStringLiteral("Item \"All\" of controller \"A\": it takes an array of 2 values."));
}

TEST_F(PlantLifeTest, LinksInACircleFail)
{
    const PlantItemRef x = Add(s_X, {.Kind = ItemKind::Alias, .Links = {s_Y}});
    Add(s_Y, {.Kind = ItemKind::Alias, .Links = {s_X}});
    const QString circle = QStringLiteral("its links go in a circle or over more than 16 items.");
    EXPECT_TRUE(FailureOf([&] { x->Value(); }).endsWith(circle));
    EXPECT_TRUE(FailureOf([&] { x->PutValue(1); }).endsWith(circle));
}

TEST_F(PlantLifeTest, LinkedPropertiesAreNotOnlyValues)
{
    const PlantItemRef x = Add(s_X, {.Id = 4711, .Links = {s_Y}});
    Add(s_Y);
    const PlantItemRef id = Add(QStringLiteral("Id"), {.Links = {s_X}, .Property = LinkedProperty::Id});
    const PlantItemRef active = Add(QStringLiteral("Act"), {.Links = {s_X}, .Property = LinkedProperty::Activation});
    const PlantItemRef linkActive =
        Add(QStringLiteral("Link"), {.Links = {s_X}, .Property = LinkedProperty::LinkActivation});
    for (const PlantItemRef& item : {id, active, linkActive}) item->Snapshot();
    EXPECT_EQ(id->Value(), Variant(4711));
    EXPECT_EQ(active->Value(), Variant(true));
    id->PutValue(QStringLiteral("new"));
    active->PutValue(0);
    linkActive->PutValue(false);
    EXPECT_EQ(x->Id(), Variant(QStringLiteral("new")));
    EXPECT_FALSE(x->IsActive() || x->IsLinkActive());
}

TEST_F(PlantLifeTest, ADeactivatedItemIsCutOffButKeepsWhatIsWritten)
{
    const PlantItemRef item = Add(s_X, {.Type = VT_I4, .Historic = true}, std::make_unique<CounterSignal>(1, 9, 1));
    NotingObserver observer(First);
    item->PutActivation(false);
    item->Snapshot();
    item->PutValue(50);
    EXPECT_EQ(item->Value(), Variant(50));
    item->PutActivation(true);
    item->Snapshot();
    EXPECT_EQ(observer.Seen, QStringList(QStringLiteral("X=3,1")));
    EXPECT_EQ(Plant.Recorded, observer.Seen);
}

TEST_F(PlantLifeTest, WhatCountsAsAChange)
{
    const Variant array = SafeArray(QList<qint16>({1, 2}));
    const std::tuple<ItemTraits, Variant, Variant, int> cases[] = {
        {{}, 1, 1.0, 1},
        {{}, 1, 2, 2},
        {{.Forced = ForcedChange::Writing}, 1, 1, 2},
        {{.Forced = ForcedChange::Reading}, 1, 1, 1},
        {{}, array, array, 1},
        {{.ComparesArrays = false}, array, array, 2},
        {{.RaisesEvents = false}, 1, 2, 0},
        {{.TakesEmpty = true}, Variant(), Variant(), 1},
    };
    for (const auto& [traits, first, second, changes] : cases) {
        const PlantItemRef item = Add(s_X, traits);
        NotingObserver observer(First);
        item->PutValue(first);
        item->PutValue(second);
        EXPECT_EQ(observer.Seen.size(), changes);
        First.Remove(s_X);
    }
}

TEST_F(PlantLifeTest, DelayedWritesWaitAndFailQuietly)
{
    const PlantItemRef item = Add(s_X, {.Type = VT_I4, .Initial = 1});
    const PlantItemRef gone = Add(s_Y);
    item->PutValueEx(200, 2);
    item->PutValueEx(300, QStringLiteral("x"));
    gone->PutValueEx(100, 3);
    First.Remove(s_Y);
    Plant.Pass(199);
    EXPECT_EQ(item->Value(), Variant(1));
    Plant.Pass(1);
    EXPECT_EQ(item->Value(), Variant(2));
    EXPECT_EQ(item->State(), ItemState::Succeeded);
    Plant.Pass(100);
    EXPECT_EQ(item->State(), ItemState::Failed);
    EXPECT_EQ(Plant.Warnings, QStringList(QStringLiteral(
                                  "Delayed write: Item \"X\" of controller \"A\": VT_I4: \"x\" is not a number.")));
    EXPECT_EQ(FailureOf([&] { item->PutValueEx(-1, 2); }),
              QStringLiteral("Item \"X\" of controller \"A\": the delay -1 is negative."));
    EXPECT_EQ(FailureOf([&] { gone->PutValueEx(0, 2); }), QStringLiteral("Item \"Y\" has been removed."));
}

TEST_F(PlantLifeTest, ElementsAnswerWhatTheirIntegersSay)
{
    const PlantItemRef item = Add(s_X, {.Initial = SafeArray(QList<qint32>({10, 11, 12, 13, 14}), 3)});
    const std::tuple<int, int, int, const char16_t*> cases[] = {
        {0, 0, 0, u"3,10"},
        {2, 3, 0, u"8195,12,13,14"},
        {0, -1, 2, u"8195,10,12,14"},
        {4, 1, 5, u"8195,14"},
        {5, 0, 0, u"Item \"X\" of controller \"A\": it has no element 5, only 5 from 0 on."},
        {3, 3, 1, u"Item \"X\" of controller \"A\": it has no element 5, only 5 from 0 on."},
        {1, 2147483647, 2147483647,
         u"Item \"X\" of controller \"A\": it has no element 4611686011984936963, only 5 from 0 on."},
        {0, -2, 0, u"Item \"X\" of controller \"A\": Elements takes a count of -1 or more and a step of 0 or more."},
    };
    for (const auto& [first, count, step, outcome] : cases) {
        QString result;
        const QString failure =
            FailureOf([&, f = first, c = count, s = step] { result = WriteTypedText(item->Elements(f, c, s)); });
        EXPECT_EQ(failure == QStringLiteral("succeeded") ? result : failure, QString::fromUtf16(outcome));
    }
}

TEST_F(PlantLifeTest, ItemsAreListedInThePlantsOrder)
{
    const auto names = [](const PlantController& controller) {
        QStringList list;
        for (const PlantItemRef& item : controller.Items()) list.append(item->Name() + QString::number(item->Index()));
        return list.join(u' ');
    };
    for (const QString& name : {QStringLiteral("m"), QStringLiteral("z"), QStringLiteral("a"), QStringLiteral("n")}) {
        Add(name);
        Second.Add({.Name = name});
    }
    EXPECT_EQ(names(First), QStringLiteral("m0 z1 a2 n3"));
    EXPECT_EQ(names(Second), QStringLiteral("a0 m1 n2 z3"));
    Second.Remove(QStringLiteral("m"));
    EXPECT_EQ(names(Second), QStringLiteral("a0 n1 z2"));
}
