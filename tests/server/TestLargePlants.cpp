#include "tests/server/PlantFileTest.h"

namespace {

class LargePlants : public PlantFileTest
{
protected:
    /// The mistakes in a plant whose controller "A" has such tags, else its items.
    QString WithTags(const QByteArray& csv)
    {
        TestPlant plant;
        WriteFile(m_Folder.filePath(u"tags.csv"_s), csv);
        WriteFile(m_Path, "[[controller]]\nname = 'A'\ntags = 'tags.csv'\n");
        const QString outcome = OutcomeOf([&] { ReadPlantFile(m_Path, plant); });
        return outcome == u"done" ? Items(plant).join(u'\n') : QString(outcome).remove(m_Folder.path() + u'/');
    }
    /// What the items of the first controller are: name, description, tag, ID, value, links.
    static QStringList Items(const Plant& plant)
    {
        QStringList items;
        for (const PlantItemRef& item : plant.Controllers().first()->Items()) {
            const ItemTraits& traits = item->Traits();
            const QStringList parts = {item->Name(),
                                       traits.Description,
                                       WriteTypedText(traits.Tag),
                                       WriteTypedText(traits.Id),
                                       WriteTypedText(item->LastValue()),
                                       traits.Links.join(u'+')};
            items << parts.join(u'|');
        }
        return items;
    }
};

} // namespace

TEST_F(LargePlants, ARangeMakesAnItemForEachNumber)
{
    EXPECT_EQ(MistakesIn(R"([[controller]]
name = "A"
    [[controller.item]]
    name = "P{008..010}x"
    description = "{n}/{100+2*n}/{n-9}/{-(n - 2) * 3}/{{n}}"
    type = "R8"
    tag = "{n+1}"
    id = "{n}"
    value = "0.{n}"
    scan = "{n-8}"
    signal = { form = "sine", low = "{n}", high = 20, phase = "1e-{n}" }
    [[controller.item]]
    name = "{9..10}"
    links = ["P{n-1}x", "{n}"]
    kind = "array"
    link_property = "id"
    [[controller.item]]
    name = "Tank {{old}}"
    description = "{n}"
    value = "{3,25}"
)"),
              u"plant.toml:14: links: the item \"P8x\" does not exist\nplant.toml:14: links: the item \"P9x\" does not "
              u"exist");
    EXPECT_EQ(Items(m_Plant), QStringList({u"P008x|008/116/-1/-18/{n}|3,9|3,8|5,0.008|"_s,
                                           u"P009x|009/118/000/-21/{n}|3,10|3,9|5,0.009|"_s,
                                           u"P010x|010/120/001/-24/{n}|3,11|3,10|5,0.01|"_s, u"9||0|0|0|P8x+9"_s,
                                           u"10||0|0|0|P9x+10"_s, u"Tank {old}|{n}|0|0|8,{3,25}|"_s}));
    const QList<PlantItemRef>& items = m_Plant.Controller(u"A"_s)->Items();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(items[i]->Traits().ScanClass, i);
    items[1]->Snapshot();
    EXPECT_NEAR(ToNumber(items[1]->LastValue()), 14.5, 1e-6) << "the signal swings from 9";
}

TEST_F(LargePlants, WhatIsWrongWithARangeIsSaid)
{
    const std::pair<const char*, QString> cases[] = {
        {R"(name = "P{5..1}")", u"name: the range {5..1} counts down"_s},
        {R"(name = "P{0..2000000}")", u"name: the range {0..2000000} is over more than 2000000 items"_s},
        {R"(name = "P{1..9999999999}")",
         u"name: {1..9999999999} is not a range such as {001..500}; a brace that is meant itself is written twice"_s},
        {R"(name = "{1..2}{1..2}")", u"name: \"{1..2}{1..2}\" has more than one range"_s},
        {R"(name = "P{1..2")",
         u"name: the brace { in \"P{1..2\" stands alone; one that is meant itself is written twice"_s},
        {R"(name = "a{1..2}", tag = "{n/2}")", u"tag: {n/2} is not a calculation such as {n} or {100+2*n}"_s},
        {R"(name = "c{1..2}", tag = "{(n}")", u"tag: {(n} is not a calculation such as {n} or {100+2*n}"_s},
        {R"(name = "e{1..2}", tag = "{999999999*999999999*n*10}")",
         u"tag: {999999999*999999999*n*10} gives too large a number"_s},
        {R"(name = "g{1..3}", scan = "{n}")", u"scan: 3 is not within 0 and 2"_s},
        {R"(name = "a{2..3}")", u"name: item \"a2\" exists already"_s},
    };
    const QByteArray deep = QByteArray(100'000, '(');
    QByteArray text = "[[controller]]\nname = 'A'\nitem = [\n";
    QStringList expected;
    for (const auto& [entry, mistake] : cases) {
        text += "{ "_ba + entry + " },\n";
        expected << u"plant.toml:%1: "_s.arg(text.count('\n')) + mistake;
    }
    text += "{ name = 'h{1..2}', tag = '{" + deep + "}' },\n]\n";
    expected << u"plant.toml:14: tag: a calculation of more than 100 characters is too long"_s;
    EXPECT_EQ(MistakesIn(text).split(u'\n'), expected);
}

TEST_F(LargePlants, TagsAreReadAsSpreadsheetsWriteThem)
{
    const QString items = u"Flow, \"main\"\nline|a;b|8,007|3,25|5,2.5|\n"
                          "Copy||8,1.50|5,0.5|0|Flow, \"main\"\nline+Süd\nSüd|#|0|0|8,007|"_s;
    const QByteArray list = R"("[""Flow, \""main\""\nline"", ""Süd""]")";
    EXPECT_EQ(WithTags("type,name,description,tag,id,value,links,kind,signal.form\n"
                       "R8,\"Flow, \"\"main\"\"\nline\",a;b,007,25,2.5,,,\n\n,Copy,,1.50,0.5,,"_ba +
                       list + ",array,\nBSTR , Süd ,#,,,007\n"),
              items);
    EXPECT_EQ(
        WithTags("\xEF\xBB\xBFtype;name;description;tag;id;value;links;kind;history;;\r\n"
                 "R8;\"Flow, \"\"main\"\"\r\nline\";\"a;b\";007;25;2.5;;;TRUE;;\r\n;;;;;;;;;;\r\n;Copy;;1.50;0.5;;"_ba +
                 list + ";array;false;;\r\nBSTR;\"Süd\";#;;;007"),
        items);
    EXPECT_EQ(WithTags("name,id,links,tag\nV{1..2},{10*n},,\"x,{n}\"\nW{2..3},,V{n-1},\n"),
              u"V1||8,x,1|3,10|0|\nV2||8,x,2|3,20|0|\nW2||0|0|0|V1\nW3||0|0|0|V2");
}

TEST_F(LargePlants, WhatIsWrongWithTagsIsSaidWithItsLine)
{
    const std::pair<QByteArray, QString> cases[] = {
        {"", u"tags.csv:1: the names of the columns are missing"_s},
        {"name,colour,signal.lo,name\na,red,1,b\n", u"tags.csv:1: colour is not known here\n"
                                                    "tags.csv:1: signal.lo is not known here\n"
                                                    "tags.csv:1: there are two columns \"name\""_s},
        {"name,type,scan,history,links\n\"a\nb\",I5,,,\nc,,x,yes,[1\nd,I2,0.5,,Nobody\n",
         u"tags.csv:2: type: \"I5\" is not a type such as I4 or ARRAY|BSTR\n"
         "tags.csv:4: links: a list such as [\"a\", 1] must stand here\n"
         "tags.csv:4: history: true or false must stand here\n"
         "tags.csv:4: scan: a whole number must stand here\n"
         "tags.csv:5: scan: a whole number must stand here\n"
         "tags.csv:5: links: the item \"Nobody\" does not exist"_s},
        {"name;id\r\na;1;2\r\n\"b\"c;1\r\nd;1\r\ne{2..1};1\r\n\"f;1\r\n",
         u"tags.csv:2: cell 3 has no column\n"
         "tags.csv:3: behind a closed quote only a separator may stand\n"
         "tags.csv:5: name: the range {2..1} counts down\n"
         "tags.csv:6: a quote that is opened in this row is not closed"_s},
        {"name,description\na,S\xFC"
         "d\nb,\n",
         u"tags.csv:2: this is not UTF-8; spreadsheets save it as \"CSV UTF-8\""_s},
        {"name\na" + QByteArray(1001, ',') + "\n", u"tags.csv:2: a row has at most 1000 cells"_s},
    };
    for (const auto& [csv, mistakes] : cases) EXPECT_EQ(WithTags(csv), mistakes);
    for (const QByteArray& path : {"none.csv"_ba, "/dev/zero"_ba, ""_ba, "."_ba}) {
        WriteFile(m_Path, "[[controller]]\ntags = '" + path + "'\nname = 'A'\n");
        TestPlant plant;
        EXPECT_TRUE(OutcomeOf([&] { ReadPlantFile(m_Path, plant); }).startsWith(m_Path + u":2: tags: "_s))
            << path.toStdString();
    }
}

TEST_F(LargePlants, ManyMistakesAreBounded)
{
    const QStringList mistakes = WithTags("name\n" + QByteArray("twin\n").repeated(100'000)).split(u'\n');
    EXPECT_EQ(mistakes.size(), 1001);
    EXPECT_EQ(mistakes.last(), u"tags.csv: there are more mistakes of this kind");
}
