#include "core/automation/SafeArray.h"
#include "history/CellFace.h"
#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

TEST(CellFace, ShowsEveryKindOfValue)
{
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    const QString longText(2000, u'x');
    const QString blob = u"AB"_s.repeated(16);
    const struct
    {
        Variant Value;
        CellKind Kind;
        QString Face;
        QString Whole;
    } cases[] = {
        {Variant(Null{}), CellKind::Remark, u"NULL"_s, {}},
        {Variant(u"NULL"_s), CellKind::Text, u"NULL"_s, u"NULL"_s},
        {Variant(), CellKind::Text, {}, {}},
        {Variant(0.1), CellKind::Number, u"0.1"_s, u"0.1"_s},
        {Variant(Currency{125000}), CellKind::Number, u"12.5"_s, u"12.5"_s},
        {Variant(true), CellKind::Text, u"True"_s, u"True"_s},
        {Variant(Date{45351.25 + 0.25 / 86400}), CellKind::Text, u"2024-02-29 06:00:00.250"_s,
         u"2024-02-29 06:00:00.250"_s},
        {Variant(Date{1e9}), CellKind::Text, u"1000000000"_s, u"1000000000"_s}, // outside the calendar
        {Variant(Date{NaN}), CellKind::Text, u"NaN"_s, u"NaN"_s},
        {Variant(u"<b>one</b>\r\ntwo"_s), CellKind::Text, u"<b>one</b> two"_s, u"<b>one</b>\r\ntwo"_s},
        {Variant(longText), CellKind::Text, longText.left(1000) + u'\u2026', longText},
        {Variant(SafeArray(QList<quint8>{7})), CellKind::Text, u"0x07 (1 byte)"_s, u"0x07"_s},
        {Variant(SafeArray(QList<quint8>())), CellKind::Text, u"0x (0 bytes)"_s, u"0x"_s},
        {Variant(SafeArray(QList<quint8>(16, 0xAB))), CellKind::Text, u"0x%1 (16 bytes)"_s.arg(blob), u"0x"_s + blob},
        {Variant(SafeArray(QList<quint8>(17, 0xAB))), CellKind::Text, u"0x%1\u2026 (17 bytes)"_s.arg(blob),
         u"0x%1AB"_s.arg(blob)},
        {Variant(ObjectRef()), CellKind::Text, u"..."_s, u"..."_s},
    };
    for (const auto& [value, kind, text, whole] : cases) {
        const CellFace face = FaceOf(value);
        EXPECT_EQ(face.Text, text);
        EXPECT_EQ(face.Kind, kind) << text.toStdString();
        EXPECT_EQ(WholeText(value), whole);
    }
}
