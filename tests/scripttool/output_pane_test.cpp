#include "tests/scripttool/ScriptWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QTextBlock>

#include <cmath>

namespace {

QPalette DarkPalette()
{
    QPalette dark;
    dark.setColor(QPalette::Base, QColor(0x1e, 0x20, 0x22));
    dark.setColor(QPalette::Text, QColor(0xf0, 0xf0, 0xf0));
    return dark;
}

double Luminance(const QColor& colour)
{
    const auto linear = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double Contrast(const QColor& ink, const QColor& ground)
{
    const auto [darker, lighter] = std::minmax({Luminance(ink), Luminance(ground)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// The colours that a document's texts are painted in.
QList<QColor> Inks(const QTextDocument& document)
{
    QList<QColor> inks;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            if (part.fragment().charFormat().hasProperty(QTextFormat::ForegroundBrush))
                inks << part.fragment().charFormat().foreground().color();
        }
        for (const auto& range : block.layout()->formats()) inks << range.format.foreground().color();
    }
    return inks;
}

} // namespace

TEST(OutputPane, KeepsTheEndAndSaysOnceThatTheRestWasDropped)
{
    OutputPane pane;
    for (int line = 0; line < 10'100; ++line) pane.Append(QString::number(line) + u'\n', OutputPane::Kind::Output);
    const QString text = pane.TextBetween(0, pane.document()->characterCount() - 1);
    EXPECT_EQ(text.left(50), u"(Earlier output was dropped.)\n101\n102\n103\n104\n105\n"_s);
    EXPECT_TRUE(text.endsWith(u"10098\n10099\n"_s));
    EXPECT_EQ(text.count(u'\n'), OutputPane::MaxLines);
}

TEST(OutputPane, CopiesALongLineInOnePieceAlsoWhenItsBeginningWasDropped)
{
    OutputPane pane;
    const QString line = u"0123456789"_s.repeated(1000);
    for (int i = 0; i < 500; ++i) pane.Append(line.mid(i * 20, 20), OutputPane::Kind::Output);
    pane.Append(u"\nend"_s, OutputPane::Kind::Error);
    EXPECT_EQ(pane.blockCount(), 4);
    pane.selectAll();
    pane.copy();
    EXPECT_EQ(QApplication::clipboard()->text(), line + u"\nend"_s);
    pane.Append(line.repeated(250), OutputPane::Kind::Output);
    const QString text = pane.TextBetween(0, pane.document()->characterCount() - 1);
    EXPECT_EQ(text.count(u'\n'), 1);
    EXPECT_GT(text.size(), OutputPane::MaxCharacters - 3 * OutputPane::LongestShownLine);
}

TEST(OutputPane, FollowsItsEndUntilTheOperatorScrollsAway)
{
    OutputPane pane;
    pane.resize(300, 200);
    pane.show();
    const auto append = [&](int lines) { pane.Append(u"line\n"_s.repeated(lines), OutputPane::Kind::Output); };
    append(100);
    EXPECT_EQ(pane.verticalScrollBar()->value(), pane.verticalScrollBar()->maximum());
    pane.verticalScrollBar()->setValue(50);
    append(100);
    EXPECT_EQ(pane.verticalScrollBar()->value(), 50);
}

TEST_F(ScriptWindow, EveryColourCanBeReadOnLightAndOnDarkGround)
{
    m_Tool->put_Script(u"// comment\nlet x = \"text\" + 12;"_s);
    Output().Append(u"bad"_s, OutputPane::Kind::Error);
    for (const QPalette& palette : {QPalette(), DarkPalette()}) {
        m_Window->setPalette(palette);
        const QColor ground = Editor().palette().color(QPalette::Base);
        const QList<QColor> inks = Inks(*Editor().document()) + Inks(*Output().document());
        EXPECT_EQ(inks.size(), 5);
        for (const QColor& ink : inks) EXPECT_GE(Contrast(ink, ground), 4.5) << ink.name().toStdString();
        for (const auto& mark : Editor().extraSelections())
            EXPECT_GE(Contrast(palette.color(QPalette::Text), mark.format.background().color()), 4.5);
    }
}
