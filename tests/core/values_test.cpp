#include "core/automation/SafeArray.h"
#include "core/ListBox.h"
#include "core/modMain.h"
#include "core/modValues.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeServer.h"
#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class Values : public ::testing::Test
{
protected:
    FakeServer m_Server;
    FakeMainWindow m_Main;
};

Variant Numbers(qsizetype count)
{
    return Variant(SafeArray(QList<qint16>(count, 7), 1));
}

Variant EightVariants(const Variant& last)
{
    QList<Variant> elements(7, Variant(qint32{1}));
    elements.append(last);
    return Variant(SafeArray(elements));
}

TEST_F(Values, TypeListMapsToTypeCodesAndBack)
{
    const VarType types[] = {0,    1,    11,   17,   2,    3,    4,    5,    6,    7,   8,
                             8203, 8209, 8194, 8195, 8196, 8197, 8198, 8199, 8200, 8204};
    for (qint16 index = 0; index < qint16{std::size(types)}; ++index) {
        EXPECT_EQ(modMain::TypeIndexToVarType(index), types[index]);
        EXPECT_EQ(modMain::VarTypeToTypeIndex(types[index]), index);
    }
    ListBox list;
    list.AddItem(u"old"_s);
    modMain::FillTypeList(&list);
    QStringList shown;
    for (int i = 0; i < list.ListCount(); ++i) shown << list.List(i);
    EXPECT_EQ(shown.join(u';'),
              u"EMPTY;NULL;BOOL;UI1;I2;I4;R4;R8;CY;DATE;BSTR;ARRAY | BOOL;ARRAY | UI1;ARRAY | I2;ARRAY | I4;ARRAY | R4;"
              u"ARRAY | R8;ARRAY | CY;ARRAY | DATE;ARRAY | BSTR;ARRAY | VARIANT;(Unknown)"_s);
    EXPECT_EQ(list.ListIndex(), 0);
}

TEST_F(Values, WhatIsNotInTheTypeListIsUnknown)
{
    for (const qint16 index : std::initializer_list<qint16>{-32768, -1, 21, 22, 32767})
        EXPECT_EQ(modMain::TypeIndexToVarType(index), -1) << index;
    for (const VarType type :
         std::initializer_list<VarType>{-32768, -1, 9, 10, 12, 13, 16, 18, 19, 8192, 8193, 8201, 8208, 32767})
        EXPECT_EQ(modMain::VarTypeToTypeIndex(type), 21) << type;
}

TEST_F(Values, TypedTextOfAnEntryIsTheCodeAndTheTextAsTyped)
{
    struct
    {
        int TypeIndex;
        const char* Text;
        const char* TypedText;
    } const cases[] = {{0, "25", "0"},       {1, " x", "1"},   {5, " 25 ", "3, 25 "},
                       {10, "a,b", "8,a,b"}, {10, "", "8,"},   {16, "1,2.5", "8197,1,2.5"},
                       {21, "x", "-1,x"},    {-1, "x", "-1,x"}};
    for (const auto& [typeIndex, text, typedText] : cases)
        EXPECT_EQ(modMain::BuildTypedText(typeIndex, QString::fromLatin1(text)), QString::fromLatin1(typedText));
    EXPECT_EQ(modMain::ToValue(5, u"25"_s), Variant(qint32{25}));
    EXPECT_THROW(modMain::ToValue(5, u"abc"_s), ValueError);
}

TEST_F(Values, AreShownAsTypedTextAndAsDisplayText)
{
    const Variant object(ObjectRef(m_Server.CreateEngine()));
    const Variant nested = EightVariants(Numbers(1));
    struct
    {
        Variant Value;
        const char* TypedText;
        const char* DisplayText;
    } const cases[] = {
        {Variant(), "0,", "(EMPTY)"},
        {Variant(Null()), "1,", "(NULL)"},
        {Variant(true), "11,True", "True (BOOL)"},
        {Variant(qint8{-3}), "16,-3", "-3 (UI1)"}, // meant
        {Variant(quint16{5}), "18,5", "5 (UI2)"},
        {Variant(qint32{25}), "3,25", "25 (I4)"},
        {Variant(quint32{25}), "19,25", "25 (UI4)"},
        {Variant(0.5F), "4,0.5", "0.5 (R4)"},
        {Variant(Currency{125000}), "6,12.5", "12.5 (CY)"},
        {Variant(Date{0.25}), "7,1899-12-30 06:00:00", "1899-12-30 06:00:00 (DATE)"},
        {Variant(u"a,b"_s), "8,a,b", "a,b (BSTR)"},
        {Variant(QString()), "8,", " (BSTR)"},
        {object, "9,...", "... (?)"},
        {Variant(ObjectRef()), "9,...", "... (?)"},
        {Numbers(0), "8194,", " (ARRAY | I2)"},
        {Numbers(8), "8194,7,7,7,7,7,7,7,7", "7,7,7,7,7,7,7,7 (ARRAY | I2)"},
        {Numbers(9), "8194,...", "... (ARRAY | I2)"},
        {Variant(SafeArray(QList<double>(20))), "8197,...", "... (ARRAY | R8)"},
        {Variant(SafeArray(QList<qint8>{1})), "8208,1", "1 (ARRAY | UI1)"}, // meant
        {EightVariants(Variant(qint32{2})), "8204,1,1,1,1,1,1,1,2", "1,1,1,1,1,1,1,2 (ARRAY | VARIANT)"},
        {nested, "8204,...", "... (ARRAY | VARIANT)"},
        {EightVariants(object), "8204,???", "??? (ARRAY | VARIANT)"}, // the converter has no text for it
        {Variant(SafeArray(QList<ObjectRef>{nullptr})), "8201,???", "??? (ARRAY | ?)"},
    };
    for (const auto& [value, typedText, displayText] : cases) {
        EXPECT_EQ(modMain::ValueToTypedText(value), QString::fromLatin1(typedText));
        EXPECT_EQ(modMain::ValueToDisplayText(value), QString::fromLatin1(displayText));
    }
    EXPECT_EQ(m_Main.LogMessages(), QStringList());
    EXPECT_EQ(modMain::ValueTextOf(u"no comma"_s), u"no comma"_s);
}

} // namespace
