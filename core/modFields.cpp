#include "core/modFields.h"

#include "core/automation/NumberText.h"
#include "core/DisplayText.h"
#include "core/FieldColour.h"
#include "core/LabelPane.h"
#include "core/modMain.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QTextDocumentFragment>

#include <algorithm>

namespace modMain {

namespace {

/// A text box of any kind, for selecting and typing.
struct EditBox
{
    explicit EditBox(const QWidget* widget)
        : Line(qobject_cast<QLineEdit*>(const_cast<QWidget*>(widget)))
        , Log(qobject_cast<LogPane*>(const_cast<QWidget*>(widget)))
        , Plain(qobject_cast<QPlainTextEdit*>(const_cast<QWidget*>(widget)))
    {
        if (Log) Log->ShowAppended();
    }

    QTextCursor Cursor() const { return Plain ? Plain->textCursor() : QTextCursor(); }

    bool HasSelection() const { return Line ? Line->hasSelectedText() : Cursor().hasSelection(); }

    QString SelectedText() const
    {
        if (Line) return Line->selectedText();
        return Log ? Log->SelectedText() : Cursor().selection().toPlainText();
    }

    bool IsReadOnly() const { return Line ? Line->isReadOnly() : !Plain || Plain->isReadOnly(); }

    void ReplaceSelection(const QString& text) const
    {
        if (Line) InsertLine(Line, text);
        else if (Log) Log->ReplaceSelection(text);
        else Cursor().insertText(text);
    }

    void Clear() const
    {
        if (Line) Line->clear();
        else if (Plain) Plain->clear();
    }

    QLineEdit* Line;
    LogPane* Log;
    QPlainTextEdit* Plain;
};

} // namespace

void EnableField(QWidget* control)
{
    control->setEnabled(true);
    FieldColour::Set(control, QPalette::Base);
}

void DisableField(QWidget* control)
{
    control->setEnabled(false);
    FieldColour::Set(control, QPalette::Button);
}

void EnableFields(bool enable, std::initializer_list<QWidget*> controls)
{
    for (QWidget* control : controls) enable ? EnableField(control) : DisableField(control);
}

bool CheckToBool(const QCheckBox* box)
{
    return box->checkState() == Qt::Checked;
}

bool NormalizeIntegerText(QString& text)
{
    const auto number = ParseNumber(text);
    if (!number) return false;
    text = QString::number(RoundToInt32(*number));
    return true;
}

void SelectAllText(QLineEdit* box)
{
    box->setSelection(0, static_cast<int>(box->text().size()));
}

void CopyCellToClipboard(const QAbstractItemView* grid)
{
    QGuiApplication::clipboard()->clear();
    const QModelIndex cell = grid->currentIndex();
    if (cell.isValid()) QGuiApplication::clipboard()->setText(cell.data().toString());
}

void InsertLine(QLineEdit* box, const QString& text)
{
    box->insert(text.left(std::find_if(text.begin(), text.end(), IsLineEnd) - text.begin()));
}

bool IsEditBox(const QWidget* widget)
{
    const EditBox box(widget);
    return box.Line || (box.Plain && !qobject_cast<LabelPane*>(box.Plain));
}

bool HasSelection(const QWidget* editBox)
{
    return EditBox(editBox).HasSelection();
}

bool IsReadOnly(const QWidget* editBox)
{
    return !editBox->isEnabled() || EditBox(editBox).IsReadOnly();
}

void EditCut()
{
    EditCopy();
    if (ActiveEditBox && !IsReadOnly(ActiveEditBox)) EditBox(ActiveEditBox).ReplaceSelection(QString());
}

void EditCopy()
{
    if (!ActiveEditBox) return;
    const QString text = EditBox(ActiveEditBox).SelectedText();
    if (!text.isEmpty()) QGuiApplication::clipboard()->setText(text);
}

void EditPaste()
{
    if (!ActiveEditBox || IsReadOnly(ActiveEditBox)) return;
    EditBox(ActiveEditBox).ReplaceSelection(QGuiApplication::clipboard()->text());
}

void ClearTextBox(QWidget* editBox)
{
    EditBox(editBox).Clear();
}

} // namespace modMain
