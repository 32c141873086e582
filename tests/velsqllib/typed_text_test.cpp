#include "tests/server/Outcome.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

template <typename T>
Variant Array(const QList<T>& elements, qint32 lowerBound = 0)
{
    return SafeArray(elements, lowerBound);
}

Variant Texts(const QList<QString>& texts)
{
    return Array(texts);
}

QString Spelled(const Variant& value)
{
    return OutcomeOf([&] { return value; });
}

/// What an operator's entry comes back as.
QString Echo(const QString& typedText)
{
    return OutcomeOf([&] { return ReadTypedText(typedText); });
}

void ExpectEchoes(const std::initializer_list<std::pair<const char*, const char*>>& echoes)
{
    for (const auto& [text, echo] : echoes) EXPECT_EQ(Echo(QString::fromUtf8(text)), QString::fromUtf8(echo));
}

void ExpectReadsBack(const Variant& value)
{
    EXPECT_TRUE(ReadTypedText(Spelled(value)) == value) << Spelled(value).left(200).toStdString();
}

/// `depth` arrays inside each other, the innermost empty.
Variant Nested(int depth)
{
    return depth == 1 ? Array<Variant>({}) : Array<Variant>({Nested(depth - 1)});
}

} // namespace

TEST(TypedText, SpellsEveryTypeAndReadsItBack)
{
    constexpr qint64 Lowest = std::numeric_limits<qint64>::min();
    // clang-format off
    const std::pair<Variant, const char*> spellings[] = {
        {Variant(), "0"}, {Null(), "1"}, {qint16(-32768), "2,-32768"}, {qint32(25), "3,25"}, {0.1F, "4,0.1"},
        {std::numeric_limits<float>::infinity(), "4,Infinity"}, {-std::numeric_limits<double>::quiet_NaN(), "5,-NaN"},
        {std::numeric_limits<double>::signaling_NaN(), "5,NaN(4000000000000)"}, {-0.0, "5,-0"},
        {Currency{Lowest}, "6,-922337203685477.5808"}, {Date{-1.25}, "7,1899-12-29 06:00:00"},
        {Date{-657434}, "7,0100-01-01 00:00:00"}, {Date{1.0 / 86'400'000}, "7,1899-12-30 00:00:00.001"},
        {Date{-0.25}, "7,-0.25"}, // as a clock time it would read back as +0.25
        {u" a,b\r\n\"c\" "_s, "8, a,b\r\n\"c\" "}, {true, "11,True"}, {qint8(-128), "16,-128"},
        {quint8(255), "17,255"}, {quint16(65535), "18,65535"}, {quint32(4294967295), "19,4294967295"},
        {Array<qint16>({1, -2, 3}), "8194,1,-2,3"}, {Array<qint32>({}, 1), "8195,[1..]"},
        {Array<float>({0.1F, 2}), "8196,0.1,2"}, {Array<double>({0.5, 1E20}), "8197,0.5,1E+20"},
        {Array<Currency>({{15000}, {-1}}), "8198,1.5,-0.0001"},
        {Array<Date>({{45322}, {0.5}}), "8199,2024-01-31 00:00:00,1899-12-30 12:00:00"},
        {Texts({u"a,b"_s, u"say \"x\""_s, u""_s, u" c"_s}), R"(8200,"a,b","say ""x""",""," c")"},
        {Array<bool>({true, false}), "8203,True,False"}, {Array<qint8>({-1, 1}), "8208,-1,1"},
        {Array<quint8>({0, 255}), "8209,0,255"}, {Array<quint16>({65535}), "8210,65535"},
        {Array<quint32>({7}), "8211,7"},
        {Array<Variant>({qint32(1), u"a,b"_s, Variant(), Null(), Array<Variant>({Array<quint8>({1, 2}, 1)})}),
         R"(8204,{3,1},{8,"a,b"},{0},{1},{8204,{8209,[1..]1,2}})"},
        {Array<qint32>({10, 20}, -3), "8195,[-3..]10,20"},
    };
    // clang-format on
    for (const auto& [value, text] : spellings) {
        EXPECT_EQ(Spelled(value), QString::fromUtf8(text));
        EXPECT_TRUE(ReadTypedText(QString::fromUtf8(text)) == value) << text;
    }
}

TEST(TypedText, AnyTextDateAndAmountReadsBackTheSame)
{
    const QString odd = QStringLiteral("a") + QChar(u'\0') + QChar(0xD800) + u',';
    const QString rest = u"a\"b|\"a\",\"b\"|line\r\nbreak|\r|[1..]|[|{|}|{3,1}|a}b|\u3042\u00a0|b\t"_s;
    const QStringList texts = rest.split(u'|') + QStringList{odd, QString(), u","_s, u"\""_s, u" a "_s, u"\n"_s};
    for (const QString& text : texts) {
        for (const Variant& value : {Variant(text), Texts({text, text}), Array<Variant>({text, Texts({text})})})
            ExpectReadsBack(value);
    }
    ExpectReadsBack(Texts({}));

    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> anyDay(-657434, 2958465);
    std::uniform_real_distribution<double> dayNearZero(-2, 2);
    for (int i = 0; i < 10'000; ++i) {
        const auto amount = static_cast<qint64>(random());
        for (const Variant& value : {Variant(Date{anyDay(random)}), Variant(Date{dayNearZero(random)}),
                                     Variant(Currency{amount}), Variant(Currency{amount % 100'000})})
            ExpectReadsBack(value);
    }
}

TEST(TypedText, AcceptsWhatOperatorsType)
{
    // clang-format off
    ExpectEchoes({
        {"1,", "1"}, {" 3 , 25 ", "3,25"}, {"3,2.5", "3,2"}, {"17,-0.5", "17,0"}, {"11,tRUE", "11,True"},
        {"11,-2", "11,True"}, {"4,16777217", "4,1.6777216E+07"}, {"5,-inf", "5,-Infinity"}, {"6,0.00005", "6,0"},
        {"6,0.00015", "6,0.0002"}, {"6,-0.000050001", "6,-0.0001"},
        {"6,9.2233720368547758074E14", "6,922337203685477.5807"}, {"7,2024/01/31 6:05", "7,2024-01-31 06:05:00"},
        {"7,2024-01-31T23:59:59.5", "7,2024-01-31 23:59:59.500"}, {"7,12:30", "7,1899-12-30 12:30:00"},
        {"8195, 1 ,\t2", "8195,1,2"}, {"8195, ", "8195,"},
        {R"(8200, a b , "c" ,5" disk,)", R"(8200,a b,c,"5"" disk","")"}, {"8200,[1]x,[a..]", R"(8200,"[1]x","[a..]")"},
        {"8204, { 3 , 1 } , { 0 , }", "8204,{3,1},{0}"},
    });
    // clang-format on
}

TEST(TypedText, RefusalsSayWhatWasWrongWithWhichTextForWhichType)
{
    // clang-format off
    ExpectEchoes({
        {"", R"("" is not a type code such as 3 for VT_I4)"},
        {"9,...", "VT_DISPATCH has no text"}, {"8201,", "VT_ARRAY|VT_DISPATCH has no text"},
        {"0,x", R"(VT_EMPTY: takes no value text, not even "x")"},
        {"8", "VT_BSTR: a comma and the value text are missing after the type code"},
        {"3,1,5", R"(VT_I4: "1,5" is not a number)"},
        {"3,2147483648", R"(VT_I4: overflow, "2147483648" is outside -2147483648 to 2147483647)"},
        {"11,yes", R"(VT_BOOL: "yes" is neither True, False nor a number)"},
        {"4,1e39", R"(VT_R4: overflow, "1e39" is outside -3.4028235E+38 to 3.4028235E+38)"},
        {"5,NaN(", R"(VT_R8: "NaN(" is not a number)"},
        {"6,922337203685477.58075", R"(VT_CY: overflow, "922337203685477.58075" is outside -922337203685477.5808 to 922337203685477.5807)"},
        {"7,2023-02-29", R"(VT_DATE: "2023-02-29" is not a date such as 2024-01-31 12:00:00)"},
        {"7,0099-12-31", R"(VT_DATE: overflow, "0099-12-31" is outside 0100-01-01 to 9999-12-31)"},
        {"8195,1,,3", R"(VT_ARRAY|VT_I4: element 2: "" is not a number)"},
        {"8195,[2147483647..]1,2", "VT_ARRAY|VT_I4: Overflow"},
        {R"(8200,"a)", R"(VT_ARRAY|VT_BSTR: element 1: the quote before "a" is not closed)"},
        {"8204,1", R"(VT_ARRAY|VT_VARIANT: element 1: "1" is not a typed text in braces such as {3,25})"},
        {"8204,{3,1,2}", R"(VT_ARRAY|VT_VARIANT: element 1: "}" is missing before ",2}")"},
        {"3,a text\nof far more characters than a line of the log should hold", R"(VT_I4: "a text of far more characters than a lin..." is not a number)"},
    });
    // clang-format on
}

TEST(TypedText, ObjectsHaveNoTextNorHaveArraysMoreThanSixteenDeep)
{
    const std::pair<Variant, const char*> refusals[] = {
        {ObjectRef(), "VT_DISPATCH has no text"},
        {Array<ObjectRef>({}), "VT_ARRAY|VT_DISPATCH has no text"},
        {Array<Variant>({ObjectRef()}), "VT_ARRAY|VT_VARIANT: VT_DISPATCH has no text"},
        {Date{1E9}, R"(VT_DATE: overflow, "1000000000" is outside 0100-01-01 to 9999-12-31)"}};
    for (const auto& [value, refusal] : refusals) EXPECT_EQ(Spelled(value), QString::fromUtf8(refusal));
    ExpectReadsBack(Nested(16));
    QStringList tooDeep = {Spelled(Nested(17))};
    for (const int depth : {16, 200'000}) tooDeep << Echo(u"8204,"_s + u"{8204,"_s.repeated(depth));
    for (const QString& refusal : tooDeep)
        EXPECT_TRUE(refusal.endsWith(u"VT_ARRAY|VT_VARIANT: arrays are nested more than 16 deep"_s));
}
