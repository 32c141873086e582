#include "core/NodeSearch.h"
#include "core/ObjectTreeModel.h"

#include <QTest>

#include <gtest/gtest.h>

#include <random>

using namespace Qt::StringLiterals;

namespace {

/// A tree of some thousand nodes whose names are made of few letters, so that any text is in some and not in others.
class NodeSearchTest : public ::testing::Test
{
protected:
    NodeSearchTest()
    {
        for (int i = 0; i < 4; ++i) m_Tree.Append(m_Root, AnyText(3), NodeTag::Controller);
        for (int i = 0; i < 3; ++i) m_Tree.Append(m_Root->Child(i), Names(i == 0 ? 3000 : 400), NodeTag::Item);
    }

    int Any(int count) { return std::uniform_int_distribution(0, count - 1)(m_Chance); }
    /// Letters in both cases, one whose cases have two halves each, and one that has no other.
    QString AnyText(int most)
    {
        static const QStringList letters = {u"a"_s,      u"A"_s,      u"b"_s,      u"1"_s,          u"2"_s,
                                            u"\u03a3"_s, u"\u03c2"_s, u"\u00df"_s, u"\U00010400"_s, u"\U00010428"_s};
        QString text;
        for (int i = Any(most) + 1; i > 0; --i) text += letters[Any(static_cast<int>(letters.size()))];
        return text;
    }
    QStringList Names(int count)
    {
        QStringList names;
        while (names.size() < count) names << AnyText(9);
        return names;
    }
    TreeNodeRef AnyNode()
    {
        const TreeNodeRef controller = m_Root->Child(Any(4));
        return controller->ChildCount() > 0 && Any(5) > 0 ? controller->Child(Any(controller->ChildCount()))
                                                          : controller;
    }
    void ChangeAnything()
    {
        const TreeNodeRef controller = m_Root->Child(Any(4));
        const int count = controller->ChildCount();
        switch (Any(4)) {
        case 0: m_Tree.Append(controller, Names(Any(300)), NodeTag::Item); break;
        case 1:
            for (int i = Any(200); i > 0; --i) m_Tree.Insert(controller, count / 2, AnyText(9), NodeTag::AddItem);
            break;
        default:
            for (int i = std::min(count, Any(300)); i > 0; --i)
                m_Tree.Remove(controller->Child(Any(controller->ChildCount())));
        }
    }
    /// All that hold the text, in the tree's order.
    std::vector<TreeNodeRef> Holding(const QString& text)
    {
        std::vector<TreeNodeRef> all = {m_Root}, holding;
        for (const TreeNodeRef& controller : m_Root->Children()) {
            all.push_back(controller);
            all.insert(all.end(), controller->Children().begin(), controller->Children().end());
        }
        std::ranges::copy_if(all, std::back_inserter(holding),
                             [&](const TreeNodeRef& node) { return node->Text().contains(text, Qt::CaseInsensitive); });
        return holding;
    }

    std::mt19937 m_Chance{20};
    ObjectTreeModel m_Tree;
    TreeNodeRef m_Root = m_Tree.SetRoot(u"1a"_s, NodeTag::Engine);
};

} // namespace

TEST_F(NodeSearchTest, FindsWhatAPassOverAllNamesFindsWhateverIsKnownOfThem)
{
    NodeSearch search(m_Tree);
    QString last;
    for (int step = 0; step < 400; ++step) {
        if (Any(3) == 0) ChangeAnything();
        if (Any(2) == 0) QTest::qWait(1); // the names are learnt between events
        const QString text = AnyText(Any(4) > 0 ? 5 : 20);
        const TreeNodeRef from = AnyNode();
        search.Search(text, from);
        ASSERT_TRUE(QTest::qWaitFor([&] { return search.IsDone(); }));
        const std::vector<TreeNodeRef> expected = Holding(text);
        ASSERT_EQ(search.Count(), std::ssize(expected)) << step << " " << text.toStdString();
        for (qsizetype i = 0; i < search.Count(); ++i) ASSERT_EQ(search.Hit(i), expected[static_cast<std::size_t>(i)]);
        // The same text is not looked for again, wherever from.
        if (std::exchange(last, text) == text || search.Count() == 0) continue;
        const qsizetype next = search.AtOrAfter(from);
        EXPECT_EQ(search.First(), search.Hit(next % search.Count()));
    }
}
