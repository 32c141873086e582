#include "core/modFields.h"
#include "tests/support/WindowTest.h"

#include <QTextBlock>

#include <cmath>

namespace {

class LogErrors : public WindowTest<QWidget>
{
protected:
    LogPane& Pane()
    {
        m_Main.Log().ShowAppended();
        return m_Main.Log();
    }
    static void Fail(const QString& description)
    {
        modMain::ReportErrors([&] { throw ServerError(description); });
    }
    /// All that is shown in a colour of its own, each piece in brackets, and nothing else.
    QString Coloured()
    {
        QString text;
        for (QTextBlock block = Pane().document()->begin(); block.isValid(); block = block.next()) {
            for (auto part = block.begin(); !part.atEnd(); ++part)
                if (ColourOf(part.fragment()).isValid()) text += u'[' + part.fragment().text() + u']';
        }
        return text;
    }
    static QColor ColourOf(const QTextFragment& fragment)
    {
        const QBrush brush = fragment.charFormat().foreground();
        return brush.style() == Qt::NoBrush ? QColor() : brush.color();
    }
    QColor FirstColour()
    {
        for (QTextBlock block = Pane().document()->begin(); block.isValid(); block = block.next())
            for (auto part = block.begin(); !part.atEnd(); ++part)
                if (ColourOf(part.fragment()).isValid()) return ColourOf(part.fragment());
        return {};
    }
};

/// As the guidelines for accessible contents define it.
double Luminance(const QColor& colour)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double Contrast(const QColor& a, const QColor& b)
{
    const auto [dark, light] = std::minmax({Luminance(a), Luminance(b)});
    return (light + 0.05) / (dark + 0.05);
}

TEST_F(LogErrors, StandOutByColourAndReadAsPlainText)
{
    modMain::AddLog(u"Calling"_s);
    Fail(u"first\r\nsecond"_s);
    Fail(u"third"_s);
    modMain::AddLog(u"Succeeded."_s);
    EXPECT_EQ(Coloured(), u"[1 : first][second][2 : third]"_s);
    EXPECT_EQ(Pane().Text(), u"0 : Calling\r\n1 : first\r\nsecond\r\n2 : third\r\n3 : Succeeded.\r\n"_s);

    Pane().selectAll();
    const QString text = Pane().SelectedText();
    Pane().ReplaceSelection(text);
    EXPECT_EQ(Coloured() + Pane().Text(), text) << "what is cut and pasted is text";
}

TEST_F(LogErrors, WhatTheOperatorTypesBesideThemIsPlain)
{
    Fail(u"error"_s);
    Pane().moveCursor(QTextCursor::Start);
    Pane().moveCursor(QTextCursor::EndOfLine);
    QTest::keyClicks(&Pane(), u" note"_s);
    QTest::keyClick(&Pane(), Qt::Key_Return);
    QTest::keyClicks(&Pane(), u"next"_s);
    modMain::AddLog(u"line"_s);
    EXPECT_EQ(Coloured(), u"[0 : error]"_s);
    EXPECT_EQ(Pane().Text(), u"0 : error note\r\nnext\r\n1 : line\r\n"_s);
}

TEST_F(LogErrors, FollowThePaletteAndAreLegibleInEach)
{
    Fail(u"two\nlines"_s);
    const QString text = Pane().Text();
    for (const QColor& base : {QColor(Qt::white), QColor(35, 35, 35), QColor(Qt::black), QColor(0xef, 0xef, 0xef)}) {
        QPalette palette(base);
        palette.setColor(QPalette::Base, base);
        Pane().setPalette(palette);
        EXPECT_GE(Contrast(FirstColour(), base), 4.5) << base.name().toStdString();
        EXPECT_EQ(Coloured() + Pane().Text(), u"[0 : two][lines]"_s + text) << "line ends, too, are as they were";
    }
}

} // namespace
