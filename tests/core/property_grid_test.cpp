#include "core/automation/Errors.h"
#include "core/PropertyGrid.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QStyledItemDelegate>
#include <QTest>
#include <QTextDocument>
#include <QTimer>
#include <QToolTip>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

PropertyRow Row(const QString& caption, const QString& text)
{
    return {caption, [text] { return text; }};
}

class Grid : public ::testing::Test
{
protected:
    /// Three rows, the texts "zero", "one", "two" in column 1.
    void SetUp() override
    {
        m_Grid->Lay({Row(u"Index"_s, u"zero"_s), Row(u"Name"_s, u"one"_s), Row(u"State"_s, u"two"_s)}, {1300, 280});
        for (int row = 0; row < 3; ++row) m_Grid->RefreshRow(row);
        m_Grid->show();
    }

    void TearDown() override { delete m_Grid; }

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

    QPointer<PropertyGrid> m_Grid = new PropertyGrid;
};

struct Key
{
    const char* Name;
    Qt::Key Code;
    Qt::KeyboardModifiers Shifts;
    const char* Clipboard; ///< "before": nothing was copied
    int Row;               ///< current afterwards
};

// It is meant: every key copies the current cell, only Ctrl+C copies nothing.
const Key Keys[] = {
    {"ctrl_c", Qt::Key_C, Qt::ControlModifier, "before", 1},
    {"c", Qt::Key_C, Qt::NoModifier, "one", 1},
    {"shift_ctrl_c", Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier, "one", 1},
    {"ctrl_itself", Qt::Key_Control, Qt::NoModifier, "one", 1},
    {"ctrl_x", Qt::Key_X, Qt::ControlModifier, "one", 1},
    {"function_key", Qt::Key_F5, Qt::NoModifier, "one", 1},
    {"letter_of_another_row", Qt::Key_T, Qt::NoModifier, "one", 1},
    {"enter", Qt::Key_Return, Qt::NoModifier, "one", 1},
    {"down_copies_then_moves", Qt::Key_Down, Qt::NoModifier, "one", 2},
    {"up_copies_then_moves", Qt::Key_Up, Qt::NoModifier, "one", 0},
};

class GridKeys : public Grid, public ::testing::WithParamInterface<Key>
{
};

struct LayoutCase
{
    int CaptionTwips;
    int MarginTwips;
    const char* LongestCaption;
};

} // namespace

TEST_P(GridKeys, copy_the_current_cell)
{
    QGuiApplication::clipboard()->setText(u"before"_s);
    m_Grid->setCurrentCell(1, 1);
    QKeyEvent press(QEvent::KeyPress, GetParam().Code,
                    GetParam().Shifts); // one event, without the Ctrl key's own before it
    QCoreApplication::sendEvent(m_Grid, &press);
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), GetParam().Clipboard);
    EXPECT_EQ(m_Grid->currentRow(), GetParam().Row);
}

INSTANTIATE_TEST_SUITE_P(PropertyGrid, GridKeys, ::testing::ValuesIn(Keys),
                         [](const auto& info) { return info.param.Name; });

TEST_F(Grid, tool_tip_follows_the_current_value_cell)
{
    EXPECT_EQ(m_Grid->toolTip(), u"zero"_s);
    m_Grid->setCurrentCell(2, 1);
    EXPECT_EQ(m_Grid->toolTip(), u"two"_s);
    m_Grid->SetValueText(2, u"2"_s);
    EXPECT_EQ(m_Grid->toolTip(), u"2"_s);
    m_Grid->SetValueText(1, u"1"_s);
    m_Grid->setCurrentCell(1, 0); // captions leave it as it was
    EXPECT_EQ(m_Grid->toolTip(), u"2"_s);
    EXPECT_EQ(ShownToolTip(), u"2"_s);
}

TEST_F(Grid, tool_tip_shows_texts_literally_and_never_endlessly)
{
    const QString texts[] = {u"<b>bold</b> &amp; <img src='x'>"_s, u"a  b\tc\nnext line"_s, u"1,2,"_s.repeated(200),
                             u"\xE9\x4E2D\xD83D\xDE00"_s};
    for (const QString& text : texts) {
        m_Grid->SetValueText(0, text);
        EXPECT_EQ(ShownToolTip(), text);
    }
    m_Grid->SetValueText(0, QString(1'000'000, u'x'));
    EXPECT_EQ(ShownToolTip(), QString(2000, u'x') + u'\x2026');
    EXPECT_EQ(m_Grid->CellText(0, 1).size(), 1'000'000);
    m_Grid->SetValueText(0, {});
    ShownToolTip();
    EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
}

TEST_F(Grid, paints_one_line_of_a_text)
{
    const auto painted = [this](const QString& text) {
        m_Grid->SetValueText(0, text);
        QStyleOptionViewItem option;
        return static_cast<QStyledItemDelegate*>(m_Grid->itemDelegate())
            ->displayText(m_Grid->item(0, 1)->data(Qt::DisplayRole), {});
    };
    EXPECT_EQ(painted(u"<b>&x</b>"_s), u"<b>&x</b>"_s);
    EXPECT_EQ(painted(u"one\r\ntwo\nthree"_s), u"one two three"_s);
    EXPECT_EQ(painted(QString(1'000'000, u'x')), QString(1000, u'x') + u'\x2026');
    EXPECT_EQ(painted(u"\xD83D\xDE00"_s.repeated(501)), u"\xD83D\xDE00"_s.repeated(500) + u'\x2026');
    EXPECT_EQ(painted(u"x"_s + u"\xD83D\xDE00"_s.repeated(501)), u"x"_s + u"\xD83D\xDE00"_s.repeated(499) + u'\x2026');
}

TEST_F(Grid, reads_touch_only_what_changed_and_failures_have_their_text)
{
    QString text = u"same"_s;
    bool fails = false;
    int changes = 0;
    const auto read = [&] { return fails ? throw ServerError(u"no"_s) : text; };
    m_Grid->Lay({{u"Value"_s, read, u"(EMPTY)"_s}, {u"Name"_s, read}}, {1300, 280});
    QObject::connect(m_Grid, &QTableWidget::cellChanged, m_Grid, [&] { ++changes; });
    const auto refresh = [&] {
        changes = 0;
        for (int row = 0; row < 2; ++row) m_Grid->RefreshRow(row);
        return QStringList{m_Grid->CellText(0, 1), m_Grid->CellText(1, 1), QString::number(changes)};
    };
    EXPECT_EQ(refresh(), QStringList({u"same"_s, u"same"_s, u"2"_s}));
    EXPECT_EQ(refresh(), QStringList({u"same"_s, u"same"_s, u"0"_s}));
    fails = true;
    EXPECT_EQ(refresh(), QStringList({u"(EMPTY)"_s, u""_s, u"2"_s}));
    fails = false;
    EXPECT_EQ(refresh(), QStringList({u"same"_s, u"same"_s, u"2"_s}));
}

TEST_F(Grid, lays_out_with_the_font)
{
    const LayoutCase cases[] = {
        {1300, 280, "Name"}, {1600, 0, "Name"}, {1300, 0, "A caption that is longer than its column"}};
    for (const LayoutCase& layout : cases)
        for (const int points : {8, 20}) {
            QFont font = m_Grid->font();
            font.setPointSize(points);
            m_Grid->setFont(font);
            m_Grid->Lay({Row(QString::fromLatin1(layout.LongestCaption), {}), Row(u"Index"_s, {})},
                        {layout.CaptionTwips, layout.MarginTwips});
            m_Grid->resize(1200, 400);
            const int rowHeight = m_Grid->rowHeight(0);
            EXPECT_GE(rowHeight, m_Grid->fontMetrics().height());
            EXPECT_GE(m_Grid->columnWidth(0), rowHeight * layout.CaptionTwips / 255);
            EXPECT_GE(m_Grid->columnWidth(0), static_cast<QAbstractItemView*>(m_Grid)->sizeHintForColumn(0));
            const int margin = rowHeight * layout.MarginTwips / 255;
            EXPECT_EQ(m_Grid->columnWidth(0) + m_Grid->columnWidth(1), 1200 - 2 * m_Grid->frameWidth() - margin);
            EXPECT_EQ(m_Grid->currentIndex(), m_Grid->model()->index(0, 1));
        }
}

TEST_F(Grid, laying_out_lets_window_events_run)
{
    QTest::qWait(20); // a frame
    int handled = 0;
    QTimer::singleShot(0, m_Grid, [&] { ++handled; });
    m_Grid->Lay({Row(u"Index"_s, u"zero"_s)}, {1300, 280});
    EXPECT_EQ(handled, 1);

    QTest::qWait(20);
    QTimer::singleShot(0, m_Grid, [&] {
        m_Grid->Lay({Row(u"Inner"_s, {}), Row(u"Name"_s, {})}, {1300, 280});
        m_Grid->setCurrentCell(1, 0);
    });
    m_Grid->Lay(PropertyRows(30, Row(u"Outer"_s, {})), {1300, 280});
    EXPECT_EQ(m_Grid->rowCount(), 2);
    EXPECT_EQ(m_Grid->CellText(0, 0), u"Inner"_s);
    EXPECT_EQ(m_Grid->currentIndex(), m_Grid->model()->index(1, 0));

    QTest::qWait(20);
    QTimer::singleShot(0, m_Grid, [&] { delete m_Grid; });
    m_Grid->Lay(PropertyRows(30, Row(u"Index"_s, {})), {1300, 280});
    EXPECT_FALSE(m_Grid);
}

TEST_F(Grid, a_row_may_destroy_the_grid_or_lay_it_again)
{
    m_Grid->Lay({{u"Index"_s,
                  [this] {
                      m_Grid->Lay({Row(u"Other"_s, u"other"_s)}, {1300, 280});
                      return u"of the rows before"_s;
                  }}},
                {1300, 280});
    m_Grid->RefreshRow(0);
    EXPECT_EQ(m_Grid->CellText(0, 1), u""_s);

    const QString kept = u"still readable"_s;
    QString read;
    m_Grid->Lay({{u"Index"_s,
                  [this, kept, &read] {
                      delete m_Grid;
                      return read = kept;
                  }}},
                {1300, 280});
    m_Grid->RefreshRow(0);
    EXPECT_FALSE(m_Grid);
    EXPECT_EQ(read, kept);
}
