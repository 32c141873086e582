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

TEST(ValueTypes, HaveATypeListThatMapsToTypeCodesAndBackAndAreTypedWithTheirTextAsItIs)
{
    QString codes, backAgain, typed;
    for (qint16 index = -1; index < 23; ++index) {
        codes += u"%1 "_s.arg(modMain::TypeIndexToVarType(index));
        backAgain += u"%1 "_s.arg(modMain::VarTypeToTypeIndex(modMain::TypeIndexToVarType(index)));
    }
    EXPECT_EQ(codes, u"-1 0 1 11 17 2 3 4 5 6 7 8 8203 8209 8194 8195 8196 8197 8198 8199 8200 8204 -1 -1 "_s);
    EXPECT_EQ(backAgain, u"21 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 21 "_s);
    for (const VarType type : std::initializer_list<VarType>{-32768, 9, 12, 16, 18, 19, 8192, 8193, 8201, 8208, 32767})
        EXPECT_EQ(modMain::VarTypeToTypeIndex(type), 21) << type;
    EXPECT_EQ(modMain::TypeList().join(u';'),
              u"EMPTY;NULL;BOOL;UI1;I2;I4;R4;R8;CY;DATE;BSTR;ARRAY | BOOL;ARRAY | UI1;ARRAY | I2;ARRAY | I4;ARRAY | R4;"
              u"ARRAY | R8;ARRAY | CY;ARRAY | DATE;ARRAY | BSTR;ARRAY | VARIANT;(Unknown)"_s);
    for (const int index : {0, 1, 5, 16, -1}) typed += modMain::BuildTypedText(index, u" 1,b "_s) + u';';
    EXPECT_EQ(typed, u"0;1;3, 1,b ;8197, 1,b ;-1, 1,b ;"_s);
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
