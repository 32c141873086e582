#include "core/automation/SafeArray.h"
#include "core/automation/ServerObjects.h"
#include "core/automation/VariantCompare.h"
#include "tests/automation/Outcome.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

template <typename T>
SafeArray Array(const QList<T>& elements, qint32 lowerBound = 0)
{
    return SafeArray(elements, lowerBound);
}

TEST(SafeArray, CountsFromItsLowerBound)
{
    constexpr qint32 Highest = std::numeric_limits<qint32>::max();
    EXPECT_EQ(Array<qint32>({7, 8}, -1).UpperBound(), 0);
    EXPECT_EQ(Array<qint32>({7, 8}, -1).At(1), Variant(qint32(8)));
    EXPECT_EQ(Array<qint32>({}, 5).UpperBound(), 4);
    EXPECT_EQ(Array<qint32>({1}, Highest).UpperBound(), Highest);
    EXPECT_EQ(Outcome([] { return Array<qint32>({}).At(0); }), "Subscript out of range");
    EXPECT_EQ(Outcome([] { return Array<qint32>({7}).At(-1); }), "Subscript out of range");
    EXPECT_EQ(Outcome([] { return Array(QList<bool>(2), Highest); }), "Overflow");
    EXPECT_EQ(Outcome([] { return Array<qint32>({}, std::numeric_limits<qint32>::min()); }), "Overflow");
}

TEST(Variant, EqualityMeansTypeAndBitsAndSameValueWhatTheySay)
{
    class Thing : public ServerObject
    {
    };
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    constexpr qint64 Richest = std::numeric_limits<qint64>::max();
    const ObjectRef object = std::make_shared<Thing>();
    const Variant nested = Array<Variant>({Variant(qint32(1)), Variant(Array<bool>({true}))});
    const SafeArray bytes = Array<quint8>({1, 2});
    constexpr int Different = 0, Same = 1, Equal = 2;
    // clang-format off
    const std::tuple<Variant, Variant, int> rows[] = {
        {bytes, Array<quint8>({1, 2}), Equal}, {bytes, Array<quint8>({1, 2}, 1), Same},
        {bytes, Array<qint8>({1, 2}), Same}, {bytes, Array<double>({1, 2}, 1), Same},
        {bytes, Array<quint8>({1, 3}), Different}, {bytes, Array<quint8>({1, 2, 3}), Different},
        {Array<qint32>({5}), qint32(5), Different}, {Array<double>({0.0}), Array<double>({-0.0}), Same},
        {nested, Array<Variant>({Variant(1.0), Variant(Array<bool>({true}, 3))}), Same},
        {Variant(), Variant(), Equal}, {Variant(), Null(), Different}, {Variant(), qint32(0), Different},
        {qint32(5), 5.0, Same}, {qint32(5), 5.5, Different}, {QStringLiteral("5"), qint32(5), Different},
        {0.1F, 0.1, Same}, // a single stands for every double that rounds to it
        {0.0, -0.0, Same}, {true, qint16(-1), Same}, {true, qint16(1), Different}, {Date{45322.5}, 45322.5, Same},
        {Currency{1000}, 0.1, Same}, {Currency{Richest}, Currency{Richest - 1}, Different},
        {object, object, Equal}, {object, ObjectRef(std::make_shared<Thing>()), Different},
    };
    // clang-format on
    for (const auto& [a, b, relation] : rows) {
        SCOPED_TRACE(a.Type() * 10'000 + b.Type());
        EXPECT_EQ(a == b, relation == Equal);
        EXPECT_TRUE(SameValue(a, b) == (relation != Different) && SameValue(b, a) == SameValue(a, b));
    }
    EXPECT_TRUE(Variant(NaN) == Variant(NaN) && !SameValue(NaN, NaN)) << "nothing changed, and no number";
    const auto shared = [] {
        Variant value = qint32(1);
        for (int level = 0; level < 60; ++level) value = Array<Variant>({value, value});
        return value;
    };
    EXPECT_TRUE(SameValue(shared(), shared())) << "a block is compared once, however many ways lead to it";
}

} // namespace
