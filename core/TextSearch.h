#pragma once

#include "core/FindTarget.h"

#include <QTextCursor>
#include <QTextDocument>

#include <functional>

/// Searches a text pane from its selection on, and wraps around at the ends.
class TextSearch : public FindTarget
{
public:
    /// QPlainTextEdit and QTextEdit are alike, but have no base with a cursor.
    template <typename Pane>
    explicit TextSearch(Pane* pane)
        : m_Pane(pane)
        , m_Cursor([pane] { return pane->textCursor(); })
        , m_Select([pane](const QTextCursor& cursor) {
            pane->setTextCursor(cursor);
            pane->ensureCursorVisible();
        })
    {
    }

    QWidget* Control() override { return m_Pane; }
    /// The selection, if it lies within one line.
    QString FirstText() const override;
    /// A longer text is searched from where the shorter one was found.
    FindResult Typed(const QString& text) override;
    FindResult Find(const QString& text, bool backward) override;

private:
    /// From the cursor on; true when the text is there.
    bool Select(const QString& text, const QTextCursor& from, QTextDocument::FindFlags direction);

    QWidget* m_Pane;
    std::function<QTextCursor()> m_Cursor;
    std::function<void(const QTextCursor&)> m_Select;
};
