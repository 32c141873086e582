#include "mainwindow/ItemTip.h"
#include "tests/mainwindow/Console.h"

#include <QHelpEvent>
#include <QTextDocument>
#include <QToolTip>

namespace {

class TreeFindTest : public Console
{
protected:
    TreeFindTest()
    {
        m_Server.FindController(u"PLC1"_s).Items = {{u"Pump.1"_s}, {u"Valve[2]"_s}, {u"pump.3"_s}};
        m_Server.FindController(u"PLC2"_s).Items = {{u"PUMP.4"_s}, {u"\u00c4+\u03a3"_s}};
    }

    void OpenBar()
    {
        StartActive();
        QTest::keyClick(&Tree(), Qt::Key_F, Qt::ControlModifier);
    }
    void Enter(const QString& text)
    {
        Box("txtFind").setText(text);
        Q_EMIT Box("txtFind").textEdited(text);
    }
    QString Said() { return Control<QLabel>("lblFound").text(); }
    /// The current node, the marked one, and what the bar says.
    QString State()
    {
        const TreeNodeRef marked = Tree().MarkedNode();
        EXPECT_EQ(m_Main->SelectedNode(), Current());
        return u"%1 | %2 | %3"_s.arg(Current()->Text(), marked ? marked->Text() : QString(), Said());
    }
    /// Rests the mouse on the node; what the tip says once it is there.
    QString TipAt(const QPoint& place)
    {
        QHelpEvent rest(QEvent::ToolTip, place, Tree().viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(Tree().viewport(), &rest);
        EXPECT_EQ(TakeCalls(), QStringList()) << "not before 0.7 s";
        EXPECT_TRUE(QTest::qWaitFor([] { return QToolTip::isVisible(); }));
        QTextDocument shown;
        shown.setHtml(QToolTip::text());
        return shown.toPlainText().remove(QChar(0x200B));
    }
};

TEST_F(TreeFindTest, TypingOnlyShowsAHitEnterAndF3MakeItTheCurrentNode)
{
    OpenBar();
    const std::tuple<Qt::Key, Qt::KeyboardModifiers, QString> rows[] = {
        {Qt::Key_P, {}, u"VelSQLEngine | PLC1 | 1 of 5"_s},
        {Qt::Key_U, {}, u"VelSQLEngine | Pump.1 | 1 of 3"_s},
        {Qt::Key_Return, {}, u"Pump.1 |  | 1 of 3"_s},
        {Qt::Key_M, {}, u"Pump.1 | Pump.1 | 1 of 3"_s},
        {Qt::Key_Return, {}, u"pump.3 |  | 2 of 3"_s}, // it was there already
        {Qt::Key_F3, {}, u"PUMP.4 |  | 3 of 3"_s},
        {Qt::Key_Enter, {}, u"Pump.1 |  | 1 of 3. Went on from the start."_s},
        {Qt::Key_F3, Qt::ShiftModifier, u"PUMP.4 |  | 3 of 3. Went on from the end."_s},
        {Qt::Key_Return, Qt::ShiftModifier, u"pump.3 |  | 2 of 3"_s},
        {Qt::Key_Q, {}, u"pump.3 |  | Not found."_s},
        {Qt::Key_Backspace, {}, u"pump.3 | pump.3 | 2 of 3"_s},
        {Qt::Key_Escape, {}, u"pump.3 |  | 2 of 3"_s}};
    for (const auto& [key, modifiers, state] : rows) {
        QTest::keyClick(&Box("txtFind"), key, modifiers);
        EXPECT_EQ(State(), state) << key;
    }
    EXPECT_TRUE(Tree().hasFocus() && !Box("txtFind").isVisible());
    QTest::keyClick(&Tree(), Qt::Key_F3);
    EXPECT_EQ(State() + (Box("txtFind").isVisible() ? u" open"_s : u""_s), u"PUMP.4 |  | 3 of 3"_s);
    QTest::keyClick(&Tree(), Qt::Key_F3);
    EXPECT_TRUE(Box("txtFind").isVisible()) << "to say that it has gone round";
    EXPECT_EQ(TakeCalls(), QStringList());
    Trigger("mnuView_0"); // works on nodes that were hit
    EXPECT_EQ(Windows(), QStringList{u"Controller(PLC1).Item(Pump.1)"_s});
}

TEST_F(TreeFindTest, EveryCharacterStandsForItselfInAnyLetterCase)
{
    OpenBar();
    const std::pair<QString, QString> cases[] = {{u"[2]"_s, u"1 of 1"_s},           {u".*"_s, u"Not found."_s},
                                                 {u"\u00e4+\u03c3"_s, u"1 of 1"_s}, {u"\\"_s, u"Not found."_s},
                                                 {u"vELsql"_s, u"1 of 2"_s},        {u""_s, u""_s}};
    for (const auto& [text, said] : cases) {
        Enter(text);
        EXPECT_EQ(Said(), said) << text.toStdString();
    }
}

TEST_F(TreeFindTest, TheHitsAreThoseOfTheTreeAsItIs)
{
    OpenBar();
    Enter(u"pump."_s);
    const std::pair<std::function<void()>, QString> steps[] = {
        {[this] { AddItemNode(u"Pump.5"_s); }, u"1 of 4"_s},
        {[this] { m_Main->Tree().Remove(Node(PLC1 + u"\\Pump.1"_s)); }, u"3 found"_s},
        {[this] { m_Main->Tree().Remove(Node(u"VelSQLEngine\\PLC2")); }, u"2 found"_s},
        {[this] { m_Main->Tree().Clear(); }, u"Not found."_s},
        {[this] { m_Main->Tree().SetRoot(u"pump.0"_s, NodeTag::Engine); }, u"1 found"_s}};
    for (const auto& [change, said] : steps) {
        change();
        EXPECT_TRUE(QTest::qWaitFor([&] { return Said() == said; })) << Said().toStdString();
    }
}

TEST_F(TreeFindTest, OfVeryManyTheFirstIsShownAtOnceAndKeysWaitForTheRest)
{
    OpenBar();
    QStringList names;
    for (int i = 0; i < 2'000'000; ++i) names << u"n%1"_s.arg(i);
    m_Main->Tree().Append(Node(PLC1), names + QStringList{u"end1"_s, u"end2"_s, u"end3"_s}, NodeTag::Item);
    const auto isSoon = [this](const QString& state) { return QTest::qWaitFor([&] { return State() == state; }); };
    Enter(u"end"_s); // before anything is known of the names
    EXPECT_EQ(Said(), u"Searching"_s);
    for (int i = 0; i < 3; ++i) QTest::keyClick(&Box("txtFind"), Qt::Key_Return);
    EXPECT_TRUE(isSoon(u"end3 |  | 3 of 3"_s)) << State().toStdString();
    Enter(u"n"_s);
    EXPECT_TRUE(State().startsWith(u"end3 | end3 | "_s) && Said().endsWith(u" so far"_s)) << State().toStdString();
    EXPECT_TRUE(isSoon(u"end3 | end3 | 2000004 of 2000004"_s)) << State().toStdString();
    Enter(u"end1"_s);
    m_Main->Tree().Remove(Node(PLC1)->Child(0)); // begins anew
    EXPECT_TRUE(isSoon(u"end3 | end1 | 1 of 1. Went on from the start."_s)) << State().toStdString();
}

TEST_F(TreeFindTest, AnItemsToolTipSaysWhatItIsWithoutAskingTooMuch)
{
    StartActive();
    const TreeNodeRef node = Node(PLC1 + u"\\Pump.1"_s);
    FakeServer::Item& item = m_Server.FindItem(u"PLC1"_s, u"Pump.1"_s);
    item.Description = u"<b>cold</b>\nwater"_s;
    item.Value = Variant(QString(5000, u'x'));
    EXPECT_EQ(TipAt(PlaceOf(node)),
              u"Description: <b>cold</b> water\nValue: "_s + item.Value.Get<QString>().left(300) + u'\u2026');
    EXPECT_EQ(TakeCalls().constLast(), u"Item(Pump.1).get_Value()"_s);
    item.Attribute = 2;
    EXPECT_EQ(ReadItemTip(*node, m_Server), u"Description: <b>cold</b> water\nValue: n/a"_s);
    EXPECT_EQ(TakeCalls().filter(u"get_Value"_s), QStringList());
    m_Server.FailOperation(u"get_Description"_s, u"no"_s);
    EXPECT_EQ(ReadItemTip(*node, m_Server) + ReadItemTip(*Node(PLC1), m_Server), QString());
    TakeCalls();
    m_Server.m_IsPrompt = false;
    EXPECT_EQ(ReadItemTip(*node, m_Server) + TakeCalls().join(u' '), QString());
    EXPECT_EQ(Log(), QString());
}

} // namespace
