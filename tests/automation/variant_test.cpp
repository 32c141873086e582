#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "core/automation/ServerObjects.h"
#include "core/automation/VariantCompare.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

std::string Failure(const std::function<void()>& action)
{
    try {
        action();
    } catch (const ValueError& error) {
        return error.Description().toStdString();
    }
    return "no failure";
}

template <typename T>
SafeArray Array(const QList<T>& elements, qint32 lowerBound = 0)
{
    return SafeArray(elements, lowerBound);
}

TEST(Variant, RefusesToBeReadAsAnotherType)
{
    EXPECT_EQ(Failure([] { Variant(qint32(1)).Get<qint16>(); }), "Type mismatch");
    EXPECT_EQ(Failure([] { Variant(qint32(1)).Array(); }), "Type mismatch");
    EXPECT_EQ(Failure([] { Variant{SafeArrayRef()}; }), "Type mismatch");
    EXPECT_EQ(Failure([] { Array<qint32>({1}).Of<quint32>(); }), "Type mismatch");
}

TEST(SafeArray, CountsFromItsLowerBound)
{
    const SafeArray array = Array<QString>({QStringLiteral("a"), QStringLiteral("b")}, -1);
    EXPECT_EQ(array.UpperBound(), 0);
    EXPECT_EQ(array.At(1), Variant(QStringLiteral("b")));
    EXPECT_EQ(Failure([&] { array.At(2); }), "Subscript out of range");
    EXPECT_EQ(Failure([&] { array.At(-1); }), "Subscript out of range");
    EXPECT_EQ(Array<qint32>({}, 5).UpperBound(), 4);

    constexpr qint32 Highest = std::numeric_limits<qint32>::max();
    EXPECT_EQ(Array<qint32>({1}, Highest).UpperBound(), Highest);
    EXPECT_EQ(Failure([] { Array<qint32>({1, 2}, Highest); }), "Overflow");
    EXPECT_EQ(Failure([] { Array<qint32>({}, std::numeric_limits<qint32>::min()); }), "Overflow");
}

TEST(Variant, EqualityMeansTypeAndBits)
{
    const Variant bytes = Array<quint8>({1, 2});
    EXPECT_EQ(bytes, Variant(Array<quint8>({1, 2})));
    EXPECT_NE(bytes, Variant(Array<quint8>({1, 2}, 1)));
    EXPECT_NE(bytes, Variant(Array<qint8>({1, 2})));
    EXPECT_EQ(Variant(NaN), Variant(NaN));
    EXPECT_NE(Variant(0.0), Variant(-0.0));
    EXPECT_NE(Variant(Array<double>({0.0})), Variant(Array<double>({-0.0})));
    EXPECT_NE(Variant(), Variant(Null()));
}

TEST(VariantCompare, ValuesSayTheSame)
{
    class Thing : public ServerObject
    {
    };
    const ObjectRef object = std::make_shared<Thing>();
    const Variant nested = Array<Variant>({Variant(qint32(1)), Variant(Array<QString>({QStringLiteral("x")}))});
    // clang-format off
    const std::pair<Variant, Variant> same[] = {
        {qint32(5), 5.0}, {0.1F, 0.1}, // a single stands for every double that rounds to it
        {true, qint16(-1)}, {Currency{1000}, 0.1}, {Date{45322.5}, 45322.5}, {0.0, -0.0}, {Variant(), Variant()},
        {object, object}, {Array<quint8>({1, 2}), Array<double>({1, 2}, 1)},
        {nested, Array<Variant>({Variant(1.0), Variant(Array<QString>({QStringLiteral("x")}, 3))})},
    };
    // clang-format on
    for (const auto& [a, b] : same) EXPECT_TRUE(SameValue(a, b) && SameValue(b, a)) << a.Type() << " and " << b.Type();
    const auto shared = [] {
        Variant value = qint32(1);
        for (int level = 0; level < 60; ++level) value = Array<Variant>({value, value});
        return value;
    };
    EXPECT_TRUE(SameValue(shared(), shared())) << "a block is compared once, however many ways lead to it";
    // clang-format off
    const std::pair<Variant, Variant> different[] = {
        {qint32(5), 5.5}, {true, qint16(1)}, {QStringLiteral("5"), qint32(5)}, {Variant(), qint32(0)}, {NaN, NaN},
        {Currency{std::numeric_limits<qint64>::max()}, Currency{std::numeric_limits<qint64>::max() - 1}},
        {object, ObjectRef(std::make_shared<Thing>())}, {Array<quint8>({1, 2}), Array<quint8>({1, 3})},
        {Array<quint8>({1, 2}), Array<quint8>({1, 2, 3})}, {Array<qint32>({5}), qint32(5)},
    };
    // clang-format on
    for (const auto& [a, b] : different)
        EXPECT_FALSE(SameValue(a, b) || SameValue(b, a)) << a.Type() << " and " << b.Type();
}

} // namespace
