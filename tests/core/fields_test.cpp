#include "core/automation/Errors.h"
#include "core/ListBox.h"
#include "core/modAPI.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/PropertyGrid.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/PrintQt.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTest>
#include <QTextEdit>
#include <QVBoxLayout>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QClipboard& Clipboard()
{
    return *QApplication::clipboard();
}

/// Every kind of text box, each with "one two" and "one" selected.
class Edit : public ::testing::Test
{
protected:
    Edit()
    {
        m_Line.setText(u"one two"_s);
        m_Line.setSelection(0, 3);
        modMain::ClearTextBox(&m_Main.Log());
        m_Main.Log().ReplaceSelection(u"one two"_s);
        m_Plain.setPlainText(u"one two"_s);
        m_Rich.setPlainText(u"one two"_s);
        const auto select = [](auto& box) {
            QTextCursor cursor = box.textCursor();
            cursor.setPosition(0);
            cursor.setPosition(3, QTextCursor::KeepAnchor);
            box.setTextCursor(cursor);
        };
        select(m_Main.Log());
        select(m_Plain);
        select(m_Rich);
        Clipboard().setText(u"before"_s);
    }

    static QString TextOf(const QWidget* box)
    {
        const QVariant line = box->property("text");
        return line.isValid() ? line.toString() : box->property("plainText").toString();
    }

    FakeMainWindow m_Main;
    QLineEdit m_Line;
    QPlainTextEdit m_Plain;
    QTextEdit m_Rich;
    const QList<QWidget*> m_Boxes = {&m_Line, &m_Main.Log(), &m_Plain, &m_Rich};
};

TEST_F(Edit, CutsCopiesAndPastesInEveryKindOfTextBox)
{
    for (QWidget* box : m_Boxes) {
        SCOPED_TRACE(box->metaObject()->className());
        modMain::ActiveEditBox = box;
        EXPECT_TRUE(modMain::IsEditBox(box) && modMain::HasSelection(box) && !modMain::IsReadOnly(box));
        modMain::EditCopy();
        EXPECT_EQ(Clipboard().text(), u"one"_s);
        EXPECT_EQ(TextOf(box), u"one two"_s);
        Clipboard().setText(u"before"_s);
        modMain::EditCut();
        EXPECT_EQ(Clipboard().text(), u"one"_s);
        EXPECT_EQ(TextOf(box), u" two"_s);
        EXPECT_FALSE(modMain::HasSelection(box));
        modMain::EditPaste();
        EXPECT_EQ(TextOf(box), u"one two"_s);
        modMain::ClearTextBox(box);
        EXPECT_EQ(TextOf(box), QString());
        Clipboard().setText(u"before"_s);
        modMain::EditCut();
        modMain::EditCopy();
        EXPECT_EQ(Clipboard().text(), u"before"_s) << "Nothing was selected.";
    }
}

TEST_F(Edit, PastingAnEmptyClipboardDeletesTheSelection)
{
    Clipboard().clear();
    for (QWidget* box : m_Boxes) {
        modMain::ActiveEditBox = box;
        modMain::EditPaste();
        EXPECT_EQ(TextOf(box), u" two"_s) << box->metaObject()->className();
    }
}

TEST_F(Edit, WhatTheOperatorCannotChangeIsOnlyCopied)
{
    m_Line.setReadOnly(true);
    m_Main.Log().setReadOnly(true);
    m_Plain.setEnabled(false);
    m_Rich.setReadOnly(true);
    for (QWidget* box : m_Boxes) {
        modMain::ActiveEditBox = box;
        EXPECT_TRUE(modMain::IsReadOnly(box));
        Clipboard().setText(u"before"_s);
        modMain::EditPaste();
        modMain::EditCut();
        EXPECT_EQ(TextOf(box), u"one two"_s) << box->metaObject()->className();
        EXPECT_EQ(Clipboard().text(), u"one"_s);
    }
}

TEST_F(Edit, HasNoTargetBeforeATextBoxWasUsedAndAfterItWent)
{
    auto gone = std::make_unique<QLineEdit>(u"gone"_s);
    modMain::ActiveEditBox = gone.get();
    gone.reset();
    for (const auto& routine : {modMain::EditCut, modMain::EditCopy, modMain::EditPaste}) routine();
    EXPECT_EQ(Clipboard().text(), u"before"_s);
}

TEST_F(Edit, TheLogIsCopiedAndPastedWithItsLineEnds)
{
    LogPane& log = m_Main.Log();
    modMain::ClearTextBox(&log);
    const QString lines = u"a\r\nb\nc\rd"_s;
    log.Append(lines);
    log.ShowAppended();
    modMain::ActiveEditBox = &log;
    log.selectAll();
    modMain::EditCut();
    EXPECT_EQ(Clipboard().text(), lines);
    EXPECT_EQ(log.Text(), QString());
    modMain::EditPaste();
    log.paste();
    EXPECT_EQ(log.Text(), lines + lines);

    log.moveCursor(QTextCursor::Start);
    log.moveCursor(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
    modMain::EditPaste();
    EXPECT_EQ(log.Text(), lines + lines.sliced(3) + lines);

    log.SetCapacity(0);
    modMain::EditPaste();
    EXPECT_EQ(log.Text(), lines + lines.sliced(3) + lines) << "What does not fit changes nothing.";
}

/// The colour of the middle of a field, as painted.
QColor Ground(QWidget& field)
{
    const QImage image = field.grab().toImage();
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

TEST(Fields, AreLockedAndUnlockedByStateAndColour)
{
    QWidget window;
    QVBoxLayout layout(&window);
    QLineEdit line(u"12"_s);
    ListBox list;
    QPlainTextEdit text;
    for (QWidget* field : QList<QWidget*>{&line, &list, &text}) layout.addWidget(field);
    window.resize(400, 300);
    window.show();

    QPalette light = QApplication::palette();
    light.setColor(QPalette::Base, QColor(250, 250, 255));
    light.setColor(QPalette::Button, QColor(200, 200, 190));
    QPalette dark = light;
    dark.setColor(QPalette::Base, QColor(20, 20, 30));
    dark.setColor(QPalette::Button, QColor(80, 80, 70));
    window.setPalette(dark);
    EXPECT_EQ(list.palette().color(QPalette::Button).name().toStdString(), "#14141e") << "a field from the start";
    for (const bool before : {true, false}) {
        modMain::EnableFields(before, {&line, &list, &text});
        for (const QPalette& colours : {light, dark, light}) { // the desktop's colours change while the window is open
            window.setPalette(colours);
            for (const bool enable : {before, !before, before}) {
                modMain::EnableFields(enable, {&line, &list, &text});
                const QColor expected = colours.color(enable ? QPalette::Base : QPalette::Button);
                EXPECT_EQ(line.text(), u"12"_s);
                EXPECT_EQ(line.isEnabled() && list.isEnabled() && text.isEnabled(), enable);
                EXPECT_EQ(Ground(line).name().toStdString(), expected.name().toStdString());
                EXPECT_EQ(Ground(text).name().toStdString(), expected.name().toStdString());
                EXPECT_EQ(list.palette().color(QPalette::Button).name().toStdString(), expected.name().toStdString());
            }
        }
    }
}

TEST(Fields, IntegerTextIsNormalised)
{
    const std::pair<QString, QString> accepted[] = {{u" 007 "_s, u"7"_s},
                                                    {u"2.5"_s, u"2"_s},
                                                    {u"3.5"_s, u"4"_s},
                                                    {u"-0.5"_s, u"0"_s},
                                                    {u"2147483647.4"_s, u"2147483647"_s}};
    for (const auto& [given, result] : accepted) {
        QString text = given;
        EXPECT_TRUE(modMain::NormalizeIntegerText(text)) << given.toStdString();
        EXPECT_EQ(text, result);
    }
    for (const QString& given : {u"12abc"_s, u""_s, u"1,5"_s}) {
        QString text = given;
        EXPECT_FALSE(modMain::NormalizeIntegerText(text));
        EXPECT_EQ(text, given);
    }
    for (const QString& given : {u"2147483647.5"_s, u"-2147483649"_s, u"1e400"_s}) {
        QString text = given;
        EXPECT_THROW(modMain::NormalizeIntegerText(text), ValueError);
        EXPECT_EQ(text, given);
    }
}

TEST(Fields, TheCurrentCellIsCopiedAsPlainText)
{
    PropertyGrid grid;
    grid.Lay({{u"Name"_s, [] { return QString(); }}}, {1300, 0});
    grid.SetValueText(0, u"<b>two</b>\nlines"_s);
    modMain::CopyCellToClipboard(&grid);
    EXPECT_EQ(Clipboard().text(), u"<b>two</b>\nlines"_s);
    grid.setCurrentCell(-1, -1);
    modMain::CopyCellToClipboard(&grid);
    EXPECT_EQ(Clipboard().text(), QString());
}

TEST(Fields, NumberOnlyTakesTypedDigitsAndAnythingPasted)
{
    QLineEdit field;
    modAPI::SetNumberOnly(&field);
    QTest::keyClicks(&field, u"1a-2.b3 e"_s);
    for (const QString& typed : {u"\u0663"_s, u"\U0001F600"_s}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, typed);
        QCoreApplication::sendEvent(&field, &press);
    }
    EXPECT_EQ(field.text(), u"123"_s);
    QTest::keyClick(&field, Qt::Key_Backspace);
    Clipboard().setText(u"x1"_s);
    QTest::keyClick(&field, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(field.text(), u"12x1"_s);
    modMain::SelectAllText(&field);
    EXPECT_EQ(field.selectedText(), u"12x1"_s);
}

} // namespace
