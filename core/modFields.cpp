#include "core/modFields.h"

#include "core/automation/NumberText.h"
#include "core/LogPane.h"
#include "core/modMain.h"
#include "core/PropertyGrid.h"

#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QTextEdit>

namespace modMain {

void EnableField(QWidget* control)
{
    control->setEnabled(true);
    control->setBackgroundRole(QPalette::Base);
}

void DisableField(QWidget* control)
{
    control->setEnabled(false);
    control->setBackgroundRole(QPalette::Button);
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

void CopyCellToClipboard(const PropertyGrid* grid)
{
    QGuiApplication::clipboard()->clear();
    QGuiApplication::clipboard()->setText(grid->CellText(grid->currentRow(), grid->currentColumn()));
}

bool IsEditBox(const QWidget* widget)
{
    return qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QPlainTextEdit*>(widget) ||
           qobject_cast<const QTextEdit*>(widget);
}

bool HasSelection(const QWidget* editBox)
{
    if (const auto* line = qobject_cast<const QLineEdit*>(editBox)) return line->hasSelectedText();
    if (const auto* plain = qobject_cast<const QPlainTextEdit*>(editBox)) return plain->textCursor().hasSelection();
    if (const auto* rich = qobject_cast<const QTextEdit*>(editBox)) return rich->textCursor().hasSelection();
    return false;
}

bool IsReadOnly(const QWidget* editBox)
{
    return editBox->property("readOnly").toBool();
}

void EditCut()
{
    if (QWidget* box = ActiveEditBox) QMetaObject::invokeMethod(box, "cut");
}

void EditCopy()
{
    if (QWidget* box = ActiveEditBox) QMetaObject::invokeMethod(box, "copy");
}

void EditPaste()
{
    if (QWidget* box = ActiveEditBox) QMetaObject::invokeMethod(box, "paste");
}

void ClearTextBox(QWidget* editBox)
{
    if (editBox) QMetaObject::invokeMethod(editBox, "clear");
}

} // namespace modMain
