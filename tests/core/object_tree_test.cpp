#include "core/automation/Errors.h"
#include "core/ObjectTreeModel.h"

#include <QAbstractItemModelTester>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

class ObjectTree : public ::testing::Test
{
protected:
    ObjectTree()
    {
        m_Root = m_Model->SetRoot(u"VelSQLEngine"_s, NodeTag::Engine);
        m_Plc1 = m_Model->Append(m_Root, u"PLC1"_s, NodeTag::Controller);
        m_Model->Append(m_Plc1, {u"D100"_s, u"D200"_s, u"D300"_s}, NodeTag::Item);
        m_Model->Append(m_Root, u"PLC2"_s, NodeTag::Controller);
        m_Model->Append(m_Root, u"VelSQLHistory"_s, NodeTag::History);
    }

    /// The texts below a node, in order, each with its row as the node and as the model knows it.
    QStringList Below(const TreeNodeRef& node) const
    {
        QStringList rows;
        for (int row = 0; row < node->ChildCount(); ++row)
            rows << u"%1 %2 %3"_s.arg(node->Child(row)->Text())
                        .arg(node->Child(row)->Row())
                        .arg(m_Model->IndexOf(node->Child(row)).row());
        return rows;
    }

    std::unique_ptr<ObjectTreeModel> m_Model = std::make_unique<ObjectTreeModel>();
    QAbstractItemModelTester m_Tester{m_Model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal};
    TreeNodeRef m_Root;
    TreeNodeRef m_Plc1;
};

} // namespace

TEST_F(ObjectTree, finds_nodes_by_their_exact_key)
{
    const TreeNodeRef odd = m_Model->Append(m_Root, u"PLC1\\D100"_s, NodeTag::Controller); // has the key of an item
    m_Model->Append(odd, {u"x"_s, u"\\"_s, u""_s, u"<b>&\xE9"_s}, NodeTag::AddItem);
    m_Model->Append(m_Root, u"PLC"_s, NodeTag::Controller); // begins another name
    const struct
    {
        QString Key;
        QString Found; ///< text of the parent / text; empty: no node
    } cases[] = {
        {u"VelSQLEngine"_s, u"/VelSQLEngine"_s},
        {u"VelSQLEngine\\PLC1"_s, u"VelSQLEngine/PLC1"_s},
        {u"VelSQLEngine\\PLC"_s, u"VelSQLEngine/PLC"_s},
        {u"VelSQLEngine\\PLC1\\D100"_s, u"PLC1/D100"_s}, // first in tree order
        {u"VelSQLEngine\\PLC1\\D100\\x"_s, u"PLC1\\D100/x"_s},
        {u"VelSQLEngine\\PLC1\\D100\\\\"_s, u"PLC1\\D100/\\"_s},
        {u"VelSQLEngine\\PLC1\\D100\\"_s, u"PLC1\\D100/"_s},
        {u"VelSQLEngine\\PLC1\\D100\\<b>&\xE9"_s, u"PLC1\\D100/<b>&\xE9"_s},
        {u"velsqlengine\\PLC1"_s, u""_s},
        {u"VelSQLEngine\\PLC2\\D100"_s, u""_s},
        {u"VelSQLEngine\\"_s, u""_s},
        {u""_s, u""_s},
    };
    for (const auto& [key, found] : cases) {
        const TreeNodeRef node = m_Model->FindByKey(key);
        const TreeNodeRef parent = node ? node->Parent() : TreeNodeRef();
        EXPECT_EQ(node ? (parent ? parent->Text() : u""_s) + u'/' + node->Text() : u""_s, found) << key.toStdString();
        if (node) {
            EXPECT_EQ(node->Key(), key);
        }
    }
}

TEST_F(ObjectTree, keeps_rows_and_persistent_indexes_when_nodes_come_and_go)
{
    const QPersistentModelIndex d200 = m_Model->IndexOf(m_Plc1->Child(1));
    const QPersistentModelIndex d300 = m_Model->IndexOf(m_Plc1->Child(2));
    m_Model->Insert(m_Plc1, 0, u"First"_s, NodeTag::AddItem);
    m_Model->Insert(m_Plc1, 2, u"Between"_s, NodeTag::AddItem);
    m_Model->Insert(m_Plc1, 5, u"Last"_s, NodeTag::AddItem);
    EXPECT_EQ(Below(m_Plc1), QStringList({u"First 0 0"_s, u"D100 1 1"_s, u"Between 2 2"_s, u"D200 3 3"_s, u"D300 4 4"_s,
                                          u"Last 5 5"_s}));
    m_Model->Remove(m_Plc1->Child(0));
    m_Model->Remove(m_Plc1->Child(2));
    EXPECT_EQ(Below(m_Plc1), QStringList({u"D100 0 0"_s, u"Between 1 1"_s, u"D300 2 2"_s, u"Last 3 3"_s}));
    EXPECT_FALSE(d200.isValid());
    EXPECT_EQ(m_Model->NodeAt(d300), m_Plc1->Child(2));
    EXPECT_EQ(m_Model->parent(d300), m_Model->IndexOf(m_Plc1));
}

TEST_F(ObjectTree, removed_nodes_stay_safe)
{
    const TreeNodeRef item = m_Plc1->Child(1);
    TreeNodeRef plc1 = std::exchange(m_Plc1, {});
    const ObjectTreeModel& model = *m_Model;
    m_Model->Remove(plc1);
    m_Model->Remove(plc1);
    EXPECT_EQ(Below(m_Root), QStringList({u"PLC2 0 0"_s, u"VelSQLHistory 1 1"_s}));
    EXPECT_FALSE(plc1->IsInTree() || item->IsInTree());
    EXPECT_FALSE(plc1->Parent());
    EXPECT_FALSE(model.IndexOf(item).isValid());
    EXPECT_EQ(item->Key(), u"PLC1\\D200"_s);
    EXPECT_THROW(m_Model->Append(plc1, u"x"_s, NodeTag::Item), ValueError);
    m_Model->Remove(item);
    EXPECT_EQ(plc1->ChildCount(), 3);
    plc1.reset();
    EXPECT_FALSE(item->Parent());
    EXPECT_EQ(item->Key(), u"D200"_s);

    m_Model.reset();
    EXPECT_FALSE(m_Root->IsInTree());
    EXPECT_EQ(m_Root->Child(0)->Key(), u"VelSQLEngine\\PLC2"_s);
}

TEST_F(ObjectTree, shows_texts_literally_with_the_image_of_their_kind)
{
    QPixmap picture(16, 16);
    m_Model->SetImage(NodeTag::AddItem, QIcon(picture));
    const QString text = u"<b>bold</b> & \\ \xE9"_s;
    const QModelIndex shown = m_Model->IndexOf(m_Model->Append(m_Plc1, text, NodeTag::AddItem));
    EXPECT_EQ(shown.data().toString(), text);
    EXPECT_EQ(shown.data(Qt::DecorationRole).value<QIcon>().cacheKey(), m_Model->Image(NodeTag::AddItem).cacheKey());
    EXPECT_FALSE(shown.flags() & Qt::ItemIsEditable);
    const TreeNodeRef longName = m_Model->Append(m_Plc1, QString(1'000'000, u'x'), NodeTag::AddItem);
    EXPECT_EQ(m_Model->IndexOf(longName).data().toString(), QString(1000, u'x') + u'\x2026');
    EXPECT_EQ(longName->Text().size(), 1'000'000);
}
