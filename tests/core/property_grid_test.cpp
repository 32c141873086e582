#include "core/PropertyGrid.h"
#include "tests/support/ConsoleTest.h"

#include <QClipboard>
#include <QStyledItemDelegate>
#include <QTimer>

namespace {

constexpr PropertyGrid::Layout Margins = {1300, 280};

PropertyRow Row(const QString& caption)
{
    return {caption, [] { return QString(); }};
}

class Grid : public ::testing::Test
{
protected:
    Grid()
    {
        m_Grid->Lay({Row(u"Index"_s), Row(u"Name"_s), Row(u"State"_s)}, Margins);
        for (int row = 0; row < 3; ++row) m_Grid->SetValueText(row, u"value %1"_s.arg(row));
        m_Grid->show();
    }
    ~Grid() override { delete m_Grid; }

    /// Lays rows while this is the next event of the window.
    void LayDuring(const std::function<void()>& event)
    {
        QTest::qWait(20); // a frame
        QTimer::singleShot(0, m_Grid, event);
        m_Grid->Lay(PropertyRows(30, Row(u"Outer"_s)), Margins);
    }
    /// Reads a row whose reading does this first.
    void ReadDuring(const std::function<void()>& event)
    {
        const auto read = [event, kept = u"of the rows before"_s] {
            event();
            return kept; // still there
        };
        m_Grid->Lay({{u"Index"_s, read}}, Margins);
        m_Grid->RefreshRow(0);
    }

    QPointer<PropertyGrid> m_Grid = new PropertyGrid;
};

} // namespace

TEST_F(Grid, EveryKeyCopiesTheCurrentCellExceptCtrlC) // on purpose
{
    for (const QKeyCombination key :
         QList<QKeyCombination>{Qt::CTRL | Qt::Key_C, Qt::CTRL | Qt::SHIFT | Qt::Key_C, Qt::Key_C, Qt::Key_Control,
                                Qt::Key_F5, Qt::Key_V, Qt::Key_Down}) {
        QGuiApplication::clipboard()->setText(u"before"_s);
        m_Grid->setCurrentCell(1, 1);
        QKeyEvent press(QEvent::KeyPress, key.key(), key.keyboardModifiers(), key == Qt::Key_V ? u"v"_s : QString());
        QCoreApplication::sendEvent(m_Grid, &press);
        EXPECT_EQ(QGuiApplication::clipboard()->text(), key == (Qt::CTRL | Qt::Key_C) ? u"before"_s : u"value 1"_s);
        EXPECT_EQ(m_Grid->currentRow(), key == Qt::Key_Down ? 2 : 1) << "a letter does not go to the next row with it";
    }
}

TEST_F(Grid, ShowsTextsLiterallyAndNotEndlesslyAsOneLine)
{
    const QString marks = u"<b>&amp;</b> <img src='x'>\t1"_s;
    const QString smileys = u"\U0001F600"_s.repeated(501);
    const std::pair<QString, QString> cases[] = {
        {marks, marks},
        {u"one\r\ntwo  2\nthree"_s, u"one two  2 three"_s},
        {u'x' + smileys, u'x' + smileys.first(998) + u'\x2026'},
    };
    for (const auto& [text, painted] : cases)
        EXPECT_EQ(static_cast<QStyledItemDelegate*>(m_Grid->itemDelegate())->displayText(text, {}), painted);
}

TEST_F(Grid, MayBeLaidAgainOrDestroyedByEventsWhileItIsLaidAndByReadingARow)
{
    LayDuring([this] {
        m_Grid->Lay({Row(u"Inner"_s), Row(u"Name"_s)}, Margins);
        m_Grid->setCurrentCell(1, 0);
    });
    EXPECT_EQ(m_Grid->CellText(0, 0), u"Inner"_s);
    EXPECT_TRUE(m_Grid->rowCount() == 2 && m_Grid->currentIndex() == m_Grid->model()->index(1, 0));
    LayDuring([this] { delete m_Grid; });
    EXPECT_FALSE(m_Grid);
    m_Grid = new PropertyGrid;
    ReadDuring([this] { m_Grid->Lay({Row(u"Other"_s)}, Margins); });
    EXPECT_EQ(m_Grid->CellText(0, 1), QString());
    ReadDuring([this] { delete m_Grid; });
    EXPECT_FALSE(m_Grid);
}
