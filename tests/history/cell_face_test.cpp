#include "core/automation/SafeArray.h"
#include "history/CellFace.h"
#include "tests/support/PrintQt.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

struct Case
{
    const char* What;
    Variant Value;
    CellKind Kind;
    QString Face;
    QString Whole;
};

TEST(CellFace, ShowsEveryKindOfValue)
{
    const QList<quint8> seventeen(17, 0xAB);
    const QString longText(2000, u'x');
    const QList<Case> cases = {
        {"no value", Variant(Null{}), CellKind::Remark, u"NULL"_s, {}},
        {"the text NULL", Variant(u"NULL"_s), CellKind::Text, u"NULL"_s, u"NULL"_s},
        {"an empty text", Variant(u""_s), CellKind::Text, {}, {}},
        {"an empty value", Variant(), CellKind::Text, {}, {}},
        {"integer", Variant(qint32{-2147483648}), CellKind::Number, u"-2147483648"_s, u"-2147483648"_s},
        {"double", Variant(0.1), CellKind::Number, u"0.1"_s, u"0.1"_s},
        {"amount", Variant(Currency{125000}), CellKind::Number, u"12.5"_s, u"12.5"_s},
        {"boolean", Variant(true), CellKind::Text, u"True"_s, u"True"_s},
        {"date", Variant(Date{45351.25}), CellKind::Text, u"2024-02-29 06:00:00"_s, u"2024-02-29 06:00:00"_s},
        {"date with milliseconds", Variant(Date{45351.25 + 0.25 / 86400}), CellKind::Text, u"2024-02-29 06:00:00.250"_s,
         u"2024-02-29 06:00:00.250"_s},
        {"a date outside the calendar", Variant(Date{1e9}), CellKind::Text, u"1000000000"_s, u"1000000000"_s},
        {"no date at all", Variant(Date{std::numeric_limits<double>::quiet_NaN()}), CellKind::Text, u"NaN"_s, u"NaN"_s},
        {"lines", Variant(u"one\r\ntwo\nthree"_s), CellKind::Text, u"one two three"_s, u"one\r\ntwo\nthree"_s},
        {"mark-up", Variant(u"<b>&amp;</b>"_s), CellKind::Text, u"<b>&amp;</b>"_s, u"<b>&amp;</b>"_s},
        {"a long text", Variant(longText), CellKind::Text, longText.left(1000) + u'\u2026', longText},
        {"a small blob", Variant(SafeArray(QList<quint8>{0, 255})), CellKind::Text, u"0x00FF (2 bytes)"_s, u"0x00FF"_s},
        {"a byte", Variant(SafeArray(QList<quint8>{7})), CellKind::Text, u"0x07 (1 byte)"_s, u"0x07"_s},
        {"an empty blob", Variant(SafeArray(QList<quint8>())), CellKind::Text, u"0x (0 bytes)"_s, u"0x"_s},
        {"a larger blob", Variant(SafeArray(seventeen)), CellKind::Text,
         u"0x"_s + u"AB"_s.repeated(16) + u"\u2026 (17 bytes)"_s, u"0x"_s + u"AB"_s.repeated(17)},
        {"an object", Variant(ObjectRef()), CellKind::Text, u"..."_s, u"..."_s},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.What);
        const CellFace face = FaceOf(c.Value);
        EXPECT_EQ(face.Text, c.Face);
        EXPECT_EQ(face.Kind, c.Kind);
        EXPECT_EQ(WholeText(c.Value), c.Whole);
    }
}

} // namespace
