#include "core/automation/SafeArray.h"
#include "server/definition/DefinitionMaker.h"
#include "tests/server/TestPlant.h"
#include "tests/support/PrintQt.h"
#include "velsqllib/ValueText.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

/// What the console's dialog sends when only a name has been typed.
QList<Variant> UntouchedDefinition()
{
    const QString none;
    const QString zero = QStringLiteral("0");
    const qint16 first = 0;
    const qint16 variant = 12;
    return {QStringLiteral("New"),
            true,
            none,
            none,
            first,
            none,
            none,
            first,
            none,
            false,
            none,
            qint16{3},
            false,
            false,
            false,
            first,
            false,
            zero,
            zero,
            false,
            zero,
            zero,
            false,
            zero,
            false,
            zero,
            false,
            first,
            none,
            false,
            variant,
            false,
            variant,
            false,
            false,
            false,
            first,
            first,
            first,
            none,
            none};
}

/// A controller with a source item "Source", an operand "Operand", and items that are made by definitions.
class DefinitionTest : public ::testing::Test
{
protected:
    DefinitionTest()
        : Controller(*Plant.World.Add({.Name = QStringLiteral("C")}))
    {
        for (const QString& name : {QStringLiteral("Source"), QStringLiteral("Operand")})
            Controller.Add({.Name = name, .TakesEmpty = true});
    }

    /// Adds an item; `elements` replace those of the untouched definition.
    PlantItemRef Add(const QMap<int, Variant>& elements)
    {
        QList<Variant> definition = UntouchedDefinition();
        for (auto element = elements.begin(); element != elements.end(); ++element)
            definition[element.key()] = element.value();
        Maker.AddItem(Controller, SafeArray(definition));
        return Controller.Items().last();
    }
    /// A further item, linked to "Source".
    PlantItemRef AddLinked(QMap<int, Variant> elements)
    {
        elements.insert(0, QStringLiteral("Item %1").arg(Controller.Items().size()));
        elements.insert(8, QStringLiteral("Source"));
        return Add(elements);
    }
    QString FailureOf(const QMap<int, Variant>& elements)
    {
        try {
            Add(elements);
            return QStringLiteral("succeeded");
        } catch (const DescribedError& error) {
            return error.Description();
        }
    }

    TestPlant Plant;
    PlantController& Controller;
    DefinitionMaker Maker;
};

using Row = QStringList;

/// The rows of the table below a heading of docs/server.md.
QList<Row> TableBelow(const QString& heading)
{
    QFile file(QStringLiteral(VELSQL_DOCS "/server.md"));
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QString text = QString::fromUtf8(file.readAll());
    QList<Row> rows;
    bool inTable = false;
    for (const QString& line : text.mid(text.indexOf(QStringLiteral("### ") + heading)).split(u'\n')) {
        if (line.startsWith(u"|")) rows.append(line.mid(2, line.size() - 3).split(QStringLiteral("| ")));
        else if (inTable) break;
        inTable = line.startsWith(u"|");
    }
    return rows.mid(2);
}

/// The texts between backticks.
QStringList Codes(const QString& cell)
{
    static const QRegularExpression code(QStringLiteral("`([^`]*)`"));
    QStringList codes;
    for (const auto& match : code.globalMatch(cell)) codes.append(match.captured(1));
    return codes;
}

QMap<int, Variant> Elements(const QString& cell)
{
    QMap<int, Variant> elements;
    for (const QString& code : Codes(cell))
        elements.insert(code.section(u'=', 0, 0).toInt(), ReadTypedText(code.section(u'=', 1)));
    return elements;
}

/// What a row expects: the values, or "fails: ..." with the reason that an item's description holds.
QString Expected(const QString& cell)
{
    return cell.startsWith(u"fails") ? cell.trimmed() : Codes(cell).join(u' ');
}

/// Runs `action` and answers what it answers, or why it fails, as the tables say it.
QString Outcome(const std::function<QString()>& action)
{
    try {
        return action();
    } catch (const DescribedError& error) {
        return QStringLiteral("fails: ") + error.Description().section(QStringLiteral("\": "), -1).chopped(1);
    }
}

} // namespace

TEST_F(DefinitionTest, CalculationsDoWhatTheirTableSays)
{
    const auto rows = TableBelow(QStringLiteral("Calculations"));
    ASSERT_EQ(rows.size(), 38);
    QSet<int> operators;
    for (const Row& row : rows) {
        const int position = row[0].trimmed().toInt();
        operators.insert(position);
        QMap<int, Variant> elements = {{0, QStringLiteral("Item %1").arg(Controller.Items().size())},
                                       {8, QStringLiteral("Source")},
                                       {27, static_cast<qint16>(position)},
                                       {28, QStringLiteral("Operand")}};
        const PlantItemRef item = Add(elements);
        const QString outcome = Outcome([&] {
            Controller.Item(QStringLiteral("Source"))->PutValue(ReadTypedText(Codes(row[2])[0]));
            const QStringList operand = Codes(row[3]);
            if (!operand.isEmpty()) Controller.Item(QStringLiteral("Operand"))->PutValue(ReadTypedText(operand[0]));
            item->Snapshot();
            return WriteTypedText(item->Value());
        });
        EXPECT_EQ(outcome, Expected(row[4])) << row.join(u'|').toStdString();
    }
    EXPECT_EQ(operators.size(), 31) << "every operator has an example";
}

TEST_F(DefinitionTest, ConversionsAndFiltersOfReadingDoWhatTheirTableSays)
{
    const auto rows = TableBelow(QStringLiteral("Conversions and filters of what is read"));
    ASSERT_EQ(rows.size(), 10);
    for (const Row& row : rows) {
        const PlantItemRef item = AddLinked(Elements(row[1]));
        const QString outcome = Outcome([&] {
            QStringList held;
            for (const QString& value : Codes(row[2])) {
                Controller.Item(QStringLiteral("Source"))->PutValue(ReadTypedText(value));
                item->Snapshot();
                held.append(WriteTypedText(item->Value()));
            }
            return held.join(u' ');
        });
        EXPECT_EQ(outcome, Expected(row[3])) << row[0].toStdString();
    }
}

TEST_F(DefinitionTest, ConversionsOfWritingDoWhatTheirTableSays)
{
    const auto rows = TableBelow(QStringLiteral("Conversions of what is written"));
    ASSERT_EQ(rows.size(), 7);
    for (const Row& row : rows) {
        const PlantItemRef item = AddLinked(Elements(row[1]));
        const QString outcome = Outcome([&] {
            item->PutValue(ReadTypedText(Codes(row[2])[0]));
            return WriteTypedText(Controller.Item(QStringLiteral("Source"))->Value());
        });
        EXPECT_EQ(outcome, Expected(row[3])) << row[0].toStdString();
    }
}

TEST_F(DefinitionTest, TheUntouchedDialogWithANameMakesAnItem)
{
    const PlantItemRef item = Add({});
    EXPECT_EQ(item->Name(), QStringLiteral("New"));
    EXPECT_EQ(item->State(), ItemState::Undefined);
    item->PutValue(QStringLiteral("anything"));
    EXPECT_EQ(item->Value(), Variant(QStringLiteral("anything")));
    EXPECT_EQ(item->SettingData(0), Variant(true)) << "element 1";
    EXPECT_EQ(item->SettingData(29), Variant(qint16{12})) << "element 30";
    EXPECT_EQ(WriteTypedText(Maker.Last()).left(16), QStringLiteral("8204,{8,New},{11"));
}

TEST_F(DefinitionTest, RefusalsNameTheElement)
{
    const qint16 over = 31;
    const QString abc = QStringLiteral("abc");
    const QString there = QStringLiteral("there");
    Add({{0, there}});
    const std::pair<QMap<int, Variant>, const char16_t*> cases[] = {
        {{{0, QString()}}, u"Element 0 (Item Name): it is empty."},
        {{{0, QStringLiteral("a:b")}}, u"Element 0 (Item Name): \"a:b\" holds one of the characters \\#$:!."},
        {{{0, QStringLiteral("1E3")}}, u"Element 0 (Item Name): \"1E3\" is a number."},
        {{{0, there}}, u"Controller \"C\" has an item \"there\" already."},
        {{{0, 5}}, u"Element 0 (Item Name): it must be VT_BSTR, not VT_I4."},
        {{{1, abc}}, u"Element 1 (VelVariable): it must be VT_BOOL, not VT_BSTR."},
        {{{4, qint16{-1}}}, u"Element 4 (Class): nothing is selected."},
        {{{7, 1}}, u"Element 7 (Attribute): it must be VT_I2, not VT_I4."},
        {{{8, abc}}, u"Element 8 (Link Item): the item \"abc\" does not exist."},
        {{{36, qint16{1}}}, u"Element 8 (Link Item): an alias needs the item that it stands for."},
        {{{9, true}, {10, abc}, {11, qint16{3}}}, u"Element 10 (initial value): VT_I2: \"abc\" is not a number."},
        {{{16, true}, {17, QStringLiteral("-1")}}, u"Element 17 (Deadband minimum): -1 is negative."},
        {{{19, true}, {20, QStringLiteral("5")}}, u"Element 21 (Min-Max maximum): it is less than the minimum."},
        {{{24, true}, {25, QStringLiteral("3e9")}}, u"Element 25 (mask data): 3e9 is beyond 32 bits."},
        {{{27, over}}, u"Element 27 (Calculation): there are the choices 0 to 30, not 31."},
        {{{27, qint16{1}}}, u"Element 28 (operand of the Calculation): the operator needs an operand."},
        {{{38, qint16{1}}, {39, abc}},
         u"Element 39 (operand of the second Calculation): the item \"abc\" does not exist."},
    };
    for (const auto& [elements, description] : cases) EXPECT_EQ(FailureOf(elements), QString::fromUtf16(description));
    EXPECT_EQ(Controller.Items().size(), 3) << "nothing was added";
    try {
        Maker.AddItem(Controller, SafeArray(UntouchedDefinition().mid(1)));
        FAIL();
    } catch (const DescribedError& error) {
        EXPECT_EQ(error.Description(), QStringLiteral("An item definition is an array of 41 variants."));
    }
}

TEST_F(DefinitionTest, FlagsOfTheGeneralPageAct)
{
    const QMap<int, Variant> initial = {{9, true}, {10, QStringLiteral("2.5")}, {11, qint16{8}}};
    QMap<int, Variant> readOnly = initial;
    readOnly.insert(7, qint16{1});
    readOnly.insert(0, QStringLiteral("R"));
    EXPECT_EQ(Add(initial)->Value(), Variant(2.5));
    EXPECT_TRUE(Add(readOnly)->Value().IsEmpty()) << "the dialog locks the initial value of read-only items";
    const PlantItemRef item = Add({{0, QStringLiteral("E")}, {13, true}, {14, true}, {15, qint16{2}}});
    const PlantItemRef quiet = Add({{0, QStringLiteral("Q")}, {35, true}});
    NotingObserver observer(Controller);
    for (int i = 0; i < 2; ++i) item->PutValue(7);
    quiet->PutValue(7);
    EXPECT_EQ(observer.Seen, QStringList({QStringLiteral("E=3,7"), QStringLiteral("E=3,7")}));
    EXPECT_EQ(Plant.Recorded, observer.Seen);
}

TEST_F(DefinitionTest, KindsOfItemsAndTheirLinksAct)
{
    const Variant link = QStringLiteral("Source");
    const Variant two = QStringLiteral("Source(1), Operand");
    const qint16 alias = 1, array = 2, activation = 2;
    const PlantItemRef normal = Add({{0, QStringLiteral("N")}, {8, link}, {12, true}});
    const PlantItemRef other = Add({{0, QStringLiteral("A")}, {8, link}, {36, alias}});
    const PlantItemRef gathered = Add({{0, QStringLiteral("G")}, {8, two}, {34, true}, {36, array}});
    const PlantItemRef property = Add({{0, QStringLiteral("P")}, {8, link}, {37, activation}});
    Controller.Item(QStringLiteral("Source"))->PutValue(SafeArray(QList<qint16>({1, 2})));
    Controller.Item(QStringLiteral("Operand"))->PutValue(SafeArray(QList<qint32>({7, 8})));
    EXPECT_EQ(WriteTypedText(other->Value()), QStringLiteral("8194,1,2")) << "without a scan";
    Controller.Snapshot();
    EXPECT_EQ(WriteTypedText(normal->Value()), QStringLiteral("8194,1,2"));
    EXPECT_EQ(WriteTypedText(gathered->Value()), QStringLiteral("8204,{2,2},{3,7}"));
    EXPECT_EQ(WriteTypedText(property->Value()), QStringLiteral("11,True"));
    normal->PutValue(Variant());
    EXPECT_TRUE(Controller.Item(QStringLiteral("Source"))->Value().IsEmpty());
    property->PutValue(false);
    EXPECT_FALSE(Controller.Item(QStringLiteral("Source"))->IsActive());
}
