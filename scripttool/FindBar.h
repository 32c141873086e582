#pragma once

#include "ui_FindBar.h"

class QPlainTextEdit;

/// Looks for a text in an editor, onwards or back, and goes on from the other end.
class FindBar : public QWidget, private Ui::FindBar
{
    Q_OBJECT

public:
    explicit FindBar(QWidget* parent = nullptr);

    void SetEditor(QPlainTextEdit* editor) { m_Editor = editor; }
    /// Shows the bar with what is selected in the editor, if that is one line, ready to be typed over.
    void Open();
    /// Hides the bar; the editor gets the focus.
    void Close();
    /// Without a text to look for they open the bar.
    void FindNext();
    void FindPrevious();

private:
    void txtFind_TextEdited();
    void Find(QTextDocument::FindFlags direction);
    bool Select(QTextDocument::FindFlags direction);

    QPlainTextEdit* m_Editor = nullptr;
};
