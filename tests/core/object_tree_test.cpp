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
    ObjectTree() { m_Model->Append(m_Plc1, {u"D100"_s, u"D200"_s, u"D300"_s}, NodeTag::Item); }

    /// The texts below a node, in order, each with its row as the node and as the model knows it.
    QString Below(const TreeNodeRef& node) const
    {
        QString rows;
        for (int row = 0; row < node->ChildCount(); ++row) {
            const TreeNodeRef child = node->Child(row);
            rows += u"%1 %2 %3;"_s.arg(child->Text()).arg(child->Row()).arg(m_Model->IndexOf(child).row());
        }
        return rows;
    }

    std::unique_ptr<ObjectTreeModel> m_Model = std::make_unique<ObjectTreeModel>();
    QAbstractItemModelTester m_Tester{m_Model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal};
    TreeNodeRef m_Root = m_Model->SetRoot(u"Engine"_s, NodeTag::Engine);
    TreeNodeRef m_Plc1 = m_Model->Append(m_Root, u"PLC1"_s, NodeTag::Controller);
    TreeNodeRef m_Plc2 = m_Model->Append(m_Root, u"PLC2"_s, NodeTag::Controller);
};

} // namespace

TEST_F(ObjectTree, FindsNodesByTheirExactKeyWhateverNamesHold)
{
    const TreeNodeRef odd = m_Model->Append(m_Root, u"PLC1\\D100"_s, NodeTag::Controller); // has the key of an item
    m_Model->Append(odd, {u"x"_s, u"\\"_s, u""_s}, NodeTag::Item);
    m_Model->Append(m_Root, u"PLC"_s, NodeTag::Controller); // begins another name
    // clang-format off
    const std::pair<QString, TreeNodeRef> cases[] = {
        {u"Engine"_s, m_Root}, {u"Engine\\PLC1"_s, m_Plc1}, {u"Engine\\PLC"_s, m_Root->Child(3)},
        {u"Engine\\PLC1\\D100"_s, m_Plc1->Child(0)}, // first in tree order
        {u"Engine\\PLC1\\D100\\x"_s, odd->Child(0)}, {u"Engine\\PLC1\\D100\\\\"_s, odd->Child(1)},
        {u"Engine\\PLC1\\D100\\"_s, odd->Child(2)}, {u"engine\\PLC1"_s, TreeNodeRef()},
        {u"Engine\\PLC2\\D100"_s, TreeNodeRef()}, {u"Engine\\"_s, TreeNodeRef()}, {u""_s, TreeNodeRef()},
    };
    // clang-format on
    for (const auto& [key, node] : cases) {
        EXPECT_EQ(m_Model->FindByKey(key), node) << key.toStdString();
        EXPECT_EQ(node ? node->Key() : key, key);
    }
}

TEST_F(ObjectTree, KeepsRowsAndPersistentIndexesWhenNodesComeAndGo)
{
    const QPersistentModelIndex d200 = m_Model->IndexOf(m_Plc1->Child(1));
    const QPersistentModelIndex d300 = m_Model->IndexOf(m_Plc1->Child(2));
    m_Model->Insert(m_Plc1, 0, u"First"_s, NodeTag::AddItem);
    m_Model->Insert(m_Plc1, 2, u"Between"_s, NodeTag::AddItem);
    m_Model->Insert(m_Plc1, 5, u"Last"_s, NodeTag::AddItem);
    m_Model->Remove(m_Plc1->Child(0));
    m_Model->Remove(m_Plc1->Child(2));
    EXPECT_EQ(Below(m_Plc1), u"D100 0 0;Between 1 1;D300 2 2;Last 3 3;");
    EXPECT_FALSE(d200.isValid());
    EXPECT_EQ(m_Model->NodeAt(d300), m_Plc1->Child(2));
    EXPECT_EQ(m_Model->parent(d300), m_Model->IndexOf(m_Plc1));
    for (int left = 3; left > 0; --left) m_Model->Remove(m_Plc1->Child(0)); // more than stay, and nobody asks between
    EXPECT_EQ(Below(m_Plc1), u"Last 0 0;");
}

TEST_F(ObjectTree, RemovedNodesStaySafe)
{
    const TreeNodeRef item = m_Plc1->Child(1);
    m_Model->Remove(m_Plc1);
    m_Model->Remove(m_Plc1);
    EXPECT_EQ(Below(m_Root), u"PLC2 0 0;");
    EXPECT_FALSE(m_Plc1->IsInTree() || item->IsInTree() || m_Plc1->Parent() || m_Model->IndexOf(item).isValid());
    EXPECT_EQ(item->Key(), u"PLC1\\D200"_s);
    EXPECT_THROW(m_Model->Append(m_Plc1, u"x"_s, NodeTag::Item), ValueError);
    m_Plc1.reset();
    EXPECT_EQ(item->Key(), u"D200"_s);
    m_Model.reset();
    EXPECT_FALSE(m_Root->IsInTree());
    EXPECT_EQ(m_Plc2->Key(), u"Engine\\PLC2"_s);
}
