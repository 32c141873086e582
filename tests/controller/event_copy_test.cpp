#include "controller/EventList.h"
#include "tests/support/PrintQt.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class EventCopy : public ::testing::Test
{
protected:
    EventCopy()
    {
        QGuiApplication::clipboard()->setText(u"before"_s);
        m_List.show();
    }
    void Add(const QString& line)
    {
        m_List.AddLine(line);
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_List.model()->rowCount() == m_List.ListCount(); }));
    }
    QString Copied(const char* entry)
    {
        QAction* action = m_List.findChild<QMenu*>()->actions().value(entry == std::string("Copy &Line") ? 0 : 1);
        EXPECT_EQ(action->text(), QString::fromLatin1(entry));
        action->trigger();
        return QGuiApplication::clipboard()->text();
    }
    QString CopiedByKey()
    {
        QTest::keyClick(&m_List, Qt::Key_C, Qt::ControlModifier);
        return QGuiApplication::clipboard()->text();
    }
    void ShowMenu()
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(5, 5), m_List.mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(m_List.viewport(), &event);
    }

    EventList m_List;
};

} // namespace

TEST_F(EventCopy, TakesAllLinesOfThatMomentWhateverIsSelected)
{
    EXPECT_EQ(CopiedByKey(), u"before") << "an empty list";
    for (const QString& line : {QString(), u"one"_s, u"two"_s}) Add(line);
    QTest::keyClick(&m_List, Qt::Key_Up);
    EXPECT_EQ(CopiedByKey(), u"\none\ntwo");
    QTest::keyClick(&m_List, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(m_List.selectionModel()->selectedIndexes().size(), 3);
    Add(u"three"_s);
    EXPECT_EQ(m_List.selectionModel()->selectedIndexes(), QModelIndexList{m_List.model()->index(3, 0)});
    m_List.AddLine(u"not yet shown"_s);
    EXPECT_EQ(CopiedByKey(), u"\none\ntwo\nthree\nnot yet shown");
}

TEST_F(EventCopy, ItsPopUpCopiesTheLineThatWasCurrentOrAll)
{
    ShowMenu();
    EXPECT_FALSE(m_List.findChild<QMenu*>()->actions().at(0)->isEnabled());
    delete m_List.findChild<QMenu*>();
    for (const QString& line : {u"one"_s, u"two"_s}) Add(line);
    QTest::keyClick(&m_List, Qt::Key_Up);
    ShowMenu();
    Add(u"three"_s);
    EXPECT_EQ(Copied("Copy &Line"), u"one");
    EXPECT_EQ(Copied("Copy &All"), u"one\ntwo\nthree");
}
