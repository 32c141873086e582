#include "core/automation/SafeArray.h"
#include "server/definition/DefinitionMaker.h"
#include "tests/server/ServerRun.h"
#include "tests/server/TestPlant.h"

namespace {

/// A controller with a source item "Source", an operand "Operand", and items that are made by definitions.
class DefinitionTest : public ::testing::Test
{
protected:
    DefinitionTest()
    {
        for (const QString& name : {u"Source"_s, u"Operand"_s}) m_Controller.Add({.Name = name, .TakesEmpty = true});
    }

    /// Adds an item; `elements` replace those of the untouched definition: "0=8,Name 27=2,1".
    PlantItemRef Add(const QString& elements)
    {
        auto definition = UntouchedDefinition();
        static const QRegularExpression between(u" (?=\\d+=)"_s);
        for (const QString& element : elements.split(between, Qt::SkipEmptyParts))
            definition[element.section(u'=', 0, 0).toInt()] = ReadTypedText(element.section(u'=', 1));
        m_Maker.AddItem(m_Controller, SafeArray(definition));
        return m_Controller.Items().last();
    }
    /// What the item of a definition holds after each of the values that "Source" takes; or "Source", when the item
    /// takes them.
    QString Through(const QString& elements, const QStringList& values, bool isWritten = false)
    {
        const PlantItemRef item = Add(elements + u" 0=8,Item %1 8=8,Source"_s.arg(m_Controller.Items().size()));
        const PlantItemRef source = Item(u"Source"_s);
        QStringList held;
        const QString outcome = OutcomeOf([&] {
            for (const QString& value : values) {
                (isWritten ? item : source)->PutValue(ReadTypedText(value));
                if (!isWritten) item->Snapshot();
                held << WriteTypedText((isWritten ? source : item)->Value());
            }
            return held.join(u' ');
        });
        return outcome.section(u"\": "_s, -1);
    }
    PlantItemRef Item(const QString& name) const { return m_Controller.Item(name); }
    void Put(const QString& name, const QString& value) const { Item(name)->PutValue(ReadTypedText(value)); }
    QString Values(const QString& names) const
    {
        QStringList values;
        for (const QString& name : names.split(u' ')) values << WriteTypedText(Item(name)->Value());
        return values.join(u' ');
    }

    TestPlant m_Plant;
    PlantController& m_Controller = *m_Plant.Add({.Name = u"C"_s});
    DefinitionMaker m_Maker;
};

/// The rows of the table below a heading of docs/server.md.
QList<QStringList> TableBelow(const QString& heading)
{
    const QString table = ContentOf(QStringLiteral(VELSQL_DOCS "/server.md"))
                              .section(u"### "_s + heading + u'\n', 1)
                              .section(u"\n|---"_s, 1);
    QList<QStringList> rows;
    for (const QString& line : table.section(u"\n\n"_s, 0, 0).split(u'\n').mid(1))
        rows << line.mid(2, line.size() - 3).split(u"| "_s);
    return rows;
}

/// The texts between backticks.
QStringList Codes(const QString& cell)
{
    static const QRegularExpression code(u"`([^`]*)`"_s);
    QStringList codes;
    for (const auto& match : code.globalMatch(cell)) codes << match.captured(1);
    return codes;
}

/// What a cell expects: values, or the reason of a failure, as an item tells it.
QString Expected(const QString& cell)
{
    const QString failure = cell.section(u"fails: "_s, 1).trimmed();
    return failure.isEmpty() ? Codes(cell).join(u' ') : failure + u'.';
}

} // namespace

TEST_F(DefinitionTest, EveryTableOfTheDocumentHolds)
{
    const auto calculations = TableBelow(u"Calculations"_s);
    const auto read = TableBelow(u"Conversions and filters of what is read"_s);
    const auto written = TableBelow(u"Conversions of what is written"_s);
    EXPECT_EQ(calculations.size() * 100 + read.size() + written.size(), 4418);
    QSet<QString> operators;
    for (const QStringList& row : calculations) {
        operators << row[0];
        for (const QString& operand : Codes(row[3])) Put(u"Operand"_s, operand);
        EXPECT_EQ(Through(u"27=2,%1 28=8,Operand"_s.arg(row[0].trimmed()), Codes(row[2])), Expected(row[4]))
            << row.join(u"|"_s).toStdString();
    }
    EXPECT_EQ(operators.size(), 31) << "every operator has an example";
    for (const QStringList& row : read + written)
        EXPECT_EQ(Through(Codes(row[1]).join(u' '), Codes(row[2]), written.contains(row)), Expected(row[3]))
            << row[0].toStdString();
}

TEST_F(DefinitionTest, RefusalsNameTheElement)
{
    Add(u"0=8,there"_s);
    const std::pair<QString, const char16_t*> cases[] = {
        {u"0=8,"_s, u"Element 0 (Item Name): it is empty."},
        {u"0=8,a:b"_s, u"Element 0 (Item Name): \"a:b\" holds one of the characters \\#$:!."},
        {u"0=8,1E3"_s, u"Element 0 (Item Name): \"1E3\" is a number."},
        {u"0=8,there"_s, u"Controller \"C\" has an item \"there\" already."},
        {u"0=3,5"_s, u"Element 0 (Item Name): it must be VT_BSTR, not VT_I4."},
        {u"4=2,-1"_s, u"Element 4 (Class): nothing is selected."},
        {u"8=8,abc"_s, u"Element 8 (Link Item): the item \"abc\" does not exist."},
        {u"36=2,1"_s, u"Element 8 (Link Item): an alias needs the item that it stands for."},
        {u"9=11,True 10=8,abc 11=2,3"_s, u"Element 10 (initial value): VT_I2: \"abc\" is not a number."},
        {u"16=11,True 17=8,-1"_s, u"Element 17 (Deadband minimum): -1 is negative."},
        {u"19=11,True 20=8,5"_s, u"Element 21 (Min-Max maximum): it is less than the minimum."},
        {u"24=11,True 25=8,3e9"_s, u"Element 25 (mask data): 3e9 is beyond 32 bits."},
        {u"27=2,31"_s, u"Element 27 (Calculation): there are the choices 0 to 30, not 31."},
        {u"27=2,1"_s, u"Element 28 (operand of the Calculation): the operator needs an operand."},
    };
    for (const auto& [elements, description] : cases)
        EXPECT_EQ(OutcomeOf([&, e = elements] { Add(e); }), description) << elements.toStdString();
    EXPECT_EQ(OutcomeOf([&] { m_Maker.AddItem(m_Controller, SafeArray(QList<Variant>(40))); }),
              u"An item definition is an array of 41 variants.");
    EXPECT_EQ(m_Controller.Items().size(), 3) << "nothing was added";
}

TEST_F(DefinitionTest, TheUntouchedDialogInitialValuesAndWhatCountsAsAChange)
{
    EXPECT_EQ(Add({})->State(), ItemState::Undefined);
    EXPECT_EQ(Item(u"New"_s)->SettingData(0), Variant(true)) << "element 1";
    EXPECT_EQ(Item(u"New"_s)->SettingData(29), Variant(qint16{12})) << "element 30";
    EXPECT_EQ(m_Maker.Last(), SafeArray(UntouchedDefinition()));
    m_Controller.Remove(u"New"_s);
    EXPECT_EQ(WriteTypedText(Add(u"0=8,I 9=11,True 10=8,2.5 11=2,8"_s)->Value()), u"5,2.5");
    EXPECT_EQ(WriteTypedText(Add(u"0=8,R 7=2,1 9=11,True 10=8,2.5 11=2,8"_s)->Value()), u"0")
        << "the dialog locks the initial value of read-only items";
    const std::tuple<QString, QString, QString, int, int> cases[] = {
        // two values written, events, recorded values
        {{}, u"3,1"_s, u"8,anything"_s, 0, 0},
        {u"13=11,True"_s, u"3,1"_s, u"3,2"_s, 0, 2},
        {u"14=11,True"_s, u"3,1"_s, u"3,2"_s, 2, 0},
        {u"14=11,True"_s, u"3,1"_s, u"5,1"_s, 1, 0},
        {u"14=11,True 15=2,1"_s, u"3,1"_s, u"3,1"_s, 1, 0},
        {u"13=11,True 14=11,True 15=2,2"_s, u"3,1"_s, u"3,1"_s, 2, 2},
        {u"14=11,True"_s, u"8194,1,2"_s, u"8194,1,2"_s, 2, 0},
        {u"14=11,True 33=11,True"_s, u"8194,1,2"_s, u"8194,1,2"_s, 1, 0},
        {u"14=11,True 12=11,True"_s, u"0"_s, u"0"_s, 1, 0},
        {u"13=11,True 14=11,True 35=11,True"_s, u"3,1"_s, u"3,2"_s, 0, 0},
    };
    for (const auto& [elements, first, second, events, recorded] : cases) {
        Add(elements);
        NotingObserver observer(m_Controller);
        m_Plant.Recorded.clear();
        Put(u"New"_s, first);
        Put(u"New"_s, second);
        EXPECT_EQ(observer.Seen.size(), events) << elements.toStdString();
        EXPECT_EQ(m_Plant.Recorded.size(), recorded) << elements.toStdString();
        EXPECT_EQ(Values(u"New"_s), second);
        m_Controller.Remove(u"New"_s);
    }
}

TEST_F(DefinitionTest, AliasArrayAndElementLinks)
{
    for (const QString& item :
         {u"Normal 8=8,Source 12=11,True"_s, u"Alias 8=8,Source 36=2,1"_s, u"Element 8=8,Source(1) 34=11,True"_s,
          u"Array 8=8,Source(1), Operand 34=11,True 36=2,2"_s})
        Add(u"0=8,"_s + item);
    Put(u"Source"_s, u"8194,1,2"_s);
    Put(u"Operand"_s, u"3,7"_s);
    EXPECT_EQ(Values(u"Alias"_s), u"8194,1,2") << "without a scan";
    EXPECT_EQ(OutcomeOf([&] { Item(u"Array"_s)->Snapshot(); }),
              u"Item \"Array\" of controller \"C\": the linked item \"Operand\" has no element 0.");
    Put(u"Operand"_s, u"8195,7,8"_s);
    m_Controller.Snapshot();
    EXPECT_EQ(Values(u"Normal Element Array"_s), u"8194,1,2 2,2 8204,{2,2},{3,7}");
    Put(u"Element"_s, u"3,5"_s);
    EXPECT_EQ(Values(u"Source"_s), u"8194,1,5");
    Put(u"Array"_s, u"8204,{3,6},{3,9}"_s);
    EXPECT_EQ(Values(u"Alias Operand"_s), u"8194,1,6 8195,9,8");
    EXPECT_EQ(OutcomeOf([&] { Put(u"Array"_s, u"8204,{3,6}"_s); }),
              u"Item \"Array\" of controller \"C\": it takes an array of 2 values.");
    Put(u"Normal"_s, u"0"_s);
    EXPECT_EQ(Values(u"Source"_s), u"0");

    const PlantItemRef target = Add(u"0=8,Target 8=8,Source"_s);
    for (const QString& property : {u"Id 37=2,1"_s, u"Active 37=2,2"_s, u"LinkActive 37=2,3"_s})
        Add(u"8=8,Target 0=8,"_s + property);
    target->PutId(4711);
    m_Controller.Snapshot();
    EXPECT_EQ(Values(u"Id Active LinkActive"_s), u"3,4711 11,True 11,True");
    Put(u"Id"_s, u"8,new"_s);
    Put(u"LinkActive"_s, u"3,0"_s);
    EXPECT_TRUE(target->Id() == Variant(u"new"_s) && target->IsActive() && !target->IsLinkActive());
    Put(u"Active"_s, u"11,False"_s);
    EXPECT_FALSE(target->IsActive());
}

TEST_F(DefinitionTest, OperandsCountAsLinks)
{
    const QString circle = u"its links go in a circle or over more than 16 items."_s;
    const auto refused = [&](const QString& elements) { return OutcomeOf([&] { Add(elements); }).remove(circle); };
    const QString operand = u"Element 28 (operand of the Calculation): "_s;
    Put(u"Source"_s, u"3,1"_s);
    for (int i = 1; i <= 16; ++i) {
        const QString before = i > 1 ? QString::number(i - 1) + u'x' : u"Source"_s;
        Add(u"0=8,%1x 8=8,%2 36=2,1 27=2,1 28=8,%2 14=11,True 15=2,1"_s.arg(i).arg(before));
    }
    NotingObserver observer(m_Controller);
    EXPECT_EQ(Values(u"16x"_s), u"3,65536");
    EXPECT_EQ(observer.Seen.size(), 16) << "each is read once";
    EXPECT_EQ(refused(u"0=8,17x 8=8,Source 27=2,1 28=8,16x"_s), operand);

    Add(u"0=8,Y"_s);
    Add(u"0=8,X 8=8,Source 36=2,1 38=2,1 39=8,Y"_s);
    m_Controller.Remove(u"Y"_s);
    for (const QString& kind : {u"0"_s, u"1"_s, u"2"_s})
        EXPECT_EQ(refused(u"0=8,Y 8=8,X 36=2,"_s + kind), u"Element 8 (Link Item): "_s);
    EXPECT_EQ(refused(u"0=8,Y 8=8,Source 38=2,1 39=8,X"_s), u"Element 39 (operand of the second Calculation): "_s);

    // A name that means another item once its own has gone makes a circle that nobody could see.
    PlantController& other = *m_Plant.Add({.Name = u"D"_s});
    m_Controller.Add({.Name = u"D\\Y"_s, .Initial = 2});
    Add(u"0=8,Z 8=8,Source 36=2,1 27=2,1 28=8,D\\Y"_s);
    EXPECT_EQ(Values(u"Z"_s), u"3,3");
    other.Add({.Name = u"Y"_s, .Kind = ItemKind::Alias, .Links = {u"C\\Z"_s}});
    m_Controller.Remove(u"D\\Y"_s);
    EXPECT_TRUE(OutcomeOf([&] { Values(u"Z"_s); }).endsWith(circle));
}
