#include "core/automation/SafeArray.h"
#include "server/definition/DefinitionMaker.h"
#include "tests/server/DocTables.h"
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
    /// The item of a definition whose linked item is "Source".
    PlantItemRef AddLinked(const QString& elements)
    {
        return Add(elements + u" 0=8,Item %1 8=8,Source"_s.arg(m_Controller.Items().size()));
    }
    /// What `held` holds after each of the values that `taker` takes.
    static QString Through(const PlantItemRef& taker, const PlantItemRef& held, const QStringList& values)
    {
        QStringList seen;
        const QString outcome = OutcomeOf([&] {
            for (const QString& value : values) {
                taker->PutValue(ReadTypedText(value));
                if (taker->Name() == u"Source") held->Snapshot();
                seen << WriteTypedText(held->Value());
            }
            return seen.join(u' ');
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

} // namespace

TEST_F(DefinitionTest, EveryTableOfTheDocumentHolds)
{
    const auto written = TableBelow(u"Conversions of what is written"_s);
    const PlantItemRef source = Item(u"Source"_s);
    QSet<QString> operators;
    for (const QStringList& row : TableBelow(u"Calculations"_s)) {
        operators << row[0];
        for (const QString& operand : Codes(row[3])) Put(u"Operand"_s, operand);
        const PlantItemRef item = AddLinked(u"27=2,%1 28=8,Operand"_s.arg(row[0].trimmed()));
        EXPECT_EQ(Through(source, item, Codes(row[2])), Expected(row[4])) << row.join(u"|"_s).toStdString();
    }
    EXPECT_EQ(operators.size(), 31) << "every operator has an example";
    for (const QStringList& row : TableBelow(u"Conversions and filters of what is read"_s) + written) {
        const PlantItemRef item = AddLinked(Codes(row[1]).join(u' '));
        const bool isWritten = written.contains(row);
        EXPECT_EQ(Through(isWritten ? item : source, isWritten ? source : item, Codes(row[2])), Expected(row[3]))
            << row[0].toStdString();
    }
    for (const QStringList& row : TableBelow(u"Conversions to an item's type"_s)) {
        const PlantItemRef item = m_Controller.Add({.Name = row.join(u'|'), .Type = row[0].toShort()});
        EXPECT_EQ(Through(item, item, Codes(row[1])), Expected(row[2])) << item->Name().toStdString();
    }
    for (const QStringList& row : TableBelow(u"Refused definitions"_s))
        EXPECT_EQ(OutcomeOf([&] { Add(Codes(row[0]).join(u' ')); }), Codes(row[1])[0]);
    EXPECT_EQ(OutcomeOf([&] { Add(u"0=8,Source"_s); }), u"Controller \"C\" has an item \"Source\" already.");
    EXPECT_EQ(OutcomeOf([&] { m_Maker.AddItem(m_Controller, SafeArray(QList<Variant>(40))); }),
              u"An item definition is an array of 41 variants.");
    EXPECT_FALSE(m_Controller.Find(u"New"_s)) << "nothing that is refused is added";
}

TEST_F(DefinitionTest, TheUntouchedDialogInitialValuesAndWhatCountsAsAChange)
{
    EXPECT_EQ(Add({})->State(), ItemState::Undefined);
    EXPECT_EQ(Item(u"New"_s)->SettingData(0), Variant(true)) << "element 1";
    EXPECT_EQ(Item(u"New"_s)->SettingData(29), Variant(qint16{12})) << "element 30";
    EXPECT_EQ(m_Maker.Last(), SafeArray(UntouchedDefinition()));
    EXPECT_EQ(WriteTypedText(Add(u"0=8,I 9=11,True 10=8,2.5 11=2,8"_s)->Value()), u"5,2.5");
    EXPECT_EQ(WriteTypedText(Add(u"0=8,R 7=2,1 9=11,True 10=8,2.5 11=2,8"_s)->Value()), u"0")
        << "the dialog locks the initial value of read-only items";
    for (const QStringList& row : TableBelow(u"What counts as a change"_s)) {
        m_Controller.Remove(u"New"_s);
        Add(Codes(row[0]).join(u' '));
        NotingObserver observer(m_Controller);
        m_Plant.Recorded.clear();
        for (const QString& value : Codes(row[1])) Put(u"New"_s, value);
        EXPECT_EQ(observer.Seen.size(), row[2].toInt()) << row[0].toStdString();
        EXPECT_EQ(m_Plant.Recorded.size(), row[3].toInt()) << row[0].toStdString();
        EXPECT_EQ(Values(u"New"_s), Codes(row[1])[1]);
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
    ReadAll(m_Controller);
    EXPECT_EQ(Values(u"Normal Element Array"_s), u"8194,1,2 2,2 8204,{2,2},{3,7}");
    Put(u"Element"_s, u"3,5"_s);
    EXPECT_EQ(Values(u"Source"_s), u"8194,1,5");
    Put(u"Array"_s, u"8204,{3,6},{3,9}"_s);
    EXPECT_EQ(Values(u"Alias Operand"_s), u"8194,1,6 8195,9,8");
    EXPECT_EQ(OutcomeOf([&] { Put(u"Array"_s, u"8204,{3,6}"_s); }),
              u"Item \"Array\" of controller \"C\": it takes an array of 2 values.");

    const PlantItemRef target = Add(u"0=8,Target 8=8,Source"_s);
    for (const QString& property : {u"Id 37=2,1"_s, u"Active 37=2,2"_s, u"LinkActive 37=2,3"_s})
        Add(u"8=8,Target 0=8,"_s + property);
    target->PutId(4711);
    ReadAll(m_Controller);
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
    Put(u"Source"_s, u"3,1"_s);
    for (int i = 1; i <= 16; ++i) {
        const QString before = i > 1 ? QString::number(i - 1) + u'x' : u"Source"_s;
        Add(u"0=8,%1x 8=8,%2 36=2,1 27=2,1 28=8,%2 14=11,True 15=2,1"_s.arg(i).arg(before));
    }
    NotingObserver observer(m_Controller);
    EXPECT_EQ(Values(u"16x"_s), u"3,65536");
    EXPECT_EQ(observer.Seen.size(), 16) << "each is read once";
    EXPECT_EQ(OutcomeOf([&] { Add(u"0=8,17x 8=8,Source 27=2,1 28=8,16x"_s); }),
              u"Element 28 (operand of the Calculation): "_s + circle);

    // A name that means another item once its own has gone makes a circle that nobody could see.
    m_Controller.Add({.Name = u"D\\Y"_s, .Initial = 2});
    Add(u"0=8,Z 8=8,Source 36=2,1 27=2,1 28=8,D\\Y"_s);
    EXPECT_EQ(Values(u"Z"_s), u"3,3");
    m_Plant.Add({.Name = u"D"_s})->Add({.Name = u"Y"_s, .Kind = ItemKind::Alias, .Links = {u"C\\Z"_s}});
    m_Controller.Remove(u"D\\Y"_s);
    EXPECT_TRUE(OutcomeOf([&] { Values(u"Z"_s); }).endsWith(circle));
}
