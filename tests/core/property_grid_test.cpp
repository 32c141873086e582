#include "core/PropertyGrid.h"
#include "tests/support/ConsoleTest.h"

#include <QClipboard>
#include <QHelpEvent>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QTimer>
#include <QToolTip>

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

    /// What hovering over the grid shows, as read by the operator.
    QString ShownToolTip() const
    {
        const QPoint place(5, 5);
        QHelpEvent event(QEvent::ToolTip, place, m_Grid->viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(m_Grid->viewport(), &event);
        QTextDocument shown;
        shown.setHtml(QToolTip::text());
        return shown.toPlainText().remove(QChar(0x200B));
    }
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

TEST_F(Grid, ShowsTextsLiterallyAndNotEndlesslyAsOneLineAndWholeInTheToolTip)
{
    m_Grid->setCurrentCell(2, 1);
    m_Grid->SetValueText(1, u"1"_s);
    m_Grid->setCurrentCell(1, 0); // captions leave it as it was
    EXPECT_EQ(ShownToolTip(), u"value 2"_s);
    m_Grid->setCurrentCell(0, 1);
    const QString smileys = u"\U0001F600"_s.repeated(501);
    const QString marks = u"<b>&amp;</b> <img src='x'>\t1"_s;
    const std::tuple<QString, QString, QString> cases[] = {
        {marks, marks, marks},
        {u"one\r\ntwo  2\nthree"_s, u"one two  2 three"_s, u"one\ntwo  2\nthree"_s},
        {u'x' + smileys, u'x' + smileys.first(998) + u'\x2026', u'x' + smileys},
        {QString(1'000'000, u'x'), QString(1000, u'x') + u'\x2026', QString(2000, u'x') + u'\x2026'},
    };
    for (const auto& [text, painted, toolTip] : cases) {
        m_Grid->SetValueText(0, text);
        EXPECT_EQ(static_cast<QStyledItemDelegate*>(m_Grid->itemDelegate())->displayText(text, {}), painted);
        EXPECT_EQ(ShownToolTip(), toolTip);
    }
    m_Grid->SetValueText(0, {});
    ShownToolTip();
    EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
}

TEST_F(Grid, ReadsTouchOnlyWhatChangedAndFailuresHaveTheirText)
{
    bool fails = false;
    int changes = 0;
    const auto read = [&] { return fails ? throw ServerError(u"no"_s) : u"same"_s; };
    m_Grid->Lay({{u"Value"_s, read, u"(EMPTY)"_s}, {u"Name"_s, read}}, Margins);
    QObject::connect(m_Grid, &QTableWidget::cellChanged, m_Grid, [&] { ++changes; });
    const auto refresh = [&] {
        for (int row = 0; row < 2; ++row) m_Grid->RefreshRow(row);
        return u"%1|%2|%3"_s.arg(m_Grid->CellText(0, 1), m_Grid->CellText(1, 1)).arg(std::exchange(changes, 0));
    };
    EXPECT_EQ(refresh(), u"same|same|2"_s);
    EXPECT_EQ(refresh(), u"same|same|0"_s);
    fails = true;
    EXPECT_EQ(refresh(), u"(EMPTY)||2"_s);
}

TEST_F(Grid, HasRowsAndCaptionsAsLargeAsTheFontNeeds)
{
    QFont font = m_Grid->font();
    font.setPointSize(20);
    m_Grid->setFont(font);
    EXPECT_GE(m_Grid->rowHeight(0), m_Grid->fontMetrics().height());
    EXPECT_GE(m_Grid->columnWidth(0), m_Grid->rowHeight(0) * Margins.CaptionTwips / 255);
    m_Grid->Lay({Row(u"A caption that is longer than its column"_s)}, Margins);
    EXPECT_GE(m_Grid->columnWidth(0), static_cast<QAbstractItemView*>(m_Grid)->sizeHintForColumn(0));
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
