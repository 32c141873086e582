#include "core/automation/SafeArray.h"
#include "core/modMain.h"
#include "core/modValues.h"
#include "tests/support/WindowTest.h"

namespace {

Variant Numbers(qsizetype count)
{
    return Variant(SafeArray(QList<qint16>(count, 7), 1));
}

Variant TwoVariants(const Variant& last)
{
    return Variant(SafeArray(QList<Variant>{Variant(qint32{1}), last}));
}

TEST(ValueTypes, HaveATypeListThatMapsToTypeCodesAndBack)
{
    const VarType types[] = {0,    1,    11,   17,   2,    3,    4,    5,    6,    7,    8,
                             8203, 8209, 8194, 8195, 8196, 8197, 8198, 8199, 8200, 8204, -1};
    for (qint16 index = 0; index < qint16{std::size(types)}; ++index) {
        EXPECT_EQ(modMain::TypeIndexToVarType(index), types[index]);
        EXPECT_EQ(modMain::VarTypeToTypeIndex(types[index]), index);
    }
    for (const qint16 index : std::initializer_list<qint16>{-32768, -1, 22, 32767})
        EXPECT_EQ(modMain::TypeIndexToVarType(index), -1) << index;
    for (const VarType type : std::initializer_list<VarType>{-32768, 9, 12, 16, 18, 19, 8192, 8193, 8201, 8208, 32767})
        EXPECT_EQ(modMain::VarTypeToTypeIndex(type), 21) << type;
    EXPECT_EQ(modMain::TypeList().join(u';'),
              u"EMPTY;NULL;BOOL;UI1;I2;I4;R4;R8;CY;DATE;BSTR;ARRAY | BOOL;ARRAY | UI1;ARRAY | I2;ARRAY | I4;ARRAY | R4;"
              u"ARRAY | R8;ARRAY | CY;ARRAY | DATE;ARRAY | BSTR;ARRAY | VARIANT;(Unknown)"_s);
}

TEST(ValueTypes, AreTypedAsTheCodeAndTheTextAsItIs)
{
    const std::tuple<int, QString, QString> cases[] = {{0, u"25"_s, u"0"_s},
                                                       {1, u" x"_s, u"1"_s},
                                                       {5, u" 25 "_s, u"3, 25 "_s},
                                                       {10, u"a,b"_s, u"8,a,b"_s},
                                                       {16, u"1,2.5"_s, u"8197,1,2.5"_s},
                                                       {-1, u"x"_s, u"-1,x"_s}};
    for (const auto& [typeIndex, text, typedText] : cases)
        EXPECT_EQ(modMain::BuildTypedText(typeIndex, text), typedText);
}

using Values = WindowTest<QWidget>;

TEST_F(Values, AreShownAsTypedTextAndAsDisplayText)
{
    const Variant object{ObjectRef(modMain::Engine)};
    const struct
    {
        Variant Value;
        const char* TypedText;
        const char* DisplayText;
        // clang-format off
    } cases[] = {
        {Variant(), "0,", "(EMPTY)"}, {Variant(Null()), "1,", "(NULL)"},
        {Variant(qint8{-3}), "16,-3", "-3 (UI1)"}, // on purpose
        {Variant(u"a,b"_s), "8,a,b", "a,b (BSTR)"}, {object, "9,...", "... (?)"},
        {Numbers(0), "8194,[1..]", "[1..] (ARRAY | I2)"},
        {Numbers(8), "8194,[1..]7,7,7,7,7,7,7,7", "[1..]7,7,7,7,7,7,7,7 (ARRAY | I2)"},
        {Numbers(9), "8194,...", "... (ARRAY | I2)"},
        {Variant(SafeArray(QList<qint8>{1})), "8208,1", "1 (ARRAY | UI1)"}, // on purpose
        {TwoVariants(Variant(qint32{2})), "8204,{3,1},{3,2}", "{3,1},{3,2} (ARRAY | VARIANT)"},
        {TwoVariants(Numbers(1)), "8204,...", "... (ARRAY | VARIANT)"},
        {TwoVariants(object), "8204,???", "??? (ARRAY | VARIANT)"}, // the converter has no text for it
        {Variant(SafeArray(QList<ObjectRef>{nullptr})), "8201,???", "??? (ARRAY | ?)"},
    };
    // clang-format on
    for (const auto& [value, typedText, displayText] : cases) {
        EXPECT_EQ(modMain::ValueToTypedText(value), QString::fromLatin1(typedText));
        EXPECT_EQ(modMain::ValueToDisplayText(value), QString::fromLatin1(displayText));
    }
    EXPECT_EQ(TakeLog(), QStringList());
}

} // namespace
