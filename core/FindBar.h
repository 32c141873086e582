#pragma once

#include "core/TextSearch.h"

#include <QWidget>

#include <memory>

namespace Ui {
class FindBar;
}

/// Asks for a text, has it searched for forwards or backwards, and says what was found.
class FindBar : public QWidget
{
    Q_OBJECT

public:
    explicit FindBar(QWidget* parent = nullptr);
    ~FindBar() override;

    void SetTarget(std::unique_ptr<FindTarget> target) { m_Target = std::move(target); }
    /// Searches a QPlainTextEdit or a QTextEdit.
    template <typename Pane>
    void SetPane(Pane* pane)
    {
        SetTarget(std::make_unique<TextSearch>(pane));
    }
    /// While `scope` or something in it has the focus, Ctrl+F opens the bar, F3 and Shift+F3 find the next, the
    /// previous place.
    void AddKeys(QWidget* scope);
    /// For a narrow pane that shares a window with others: in rows, and without letters that Alt would press.
    void MakeNarrow();
    QString Text() const;
    void Say(const FindResult& result);
    /// The same for what the operator has asked for: a closed bar appears when it has more to say than the place.
    void Tell(const FindResult& result);

    /// Shows the bar with its text ready to be overwritten.
    void Open();
    /// Hides the bar and gives the focus to what is searched.
    void Close();
    /// Without a text to search for, these open the bar.
    void FindNext();
    void FindPrevious();

private:
    void txtFind_TextEdited();
    void Find(bool backward);

    std::unique_ptr<Ui::FindBar> m_Ui;
    std::unique_ptr<FindTarget> m_Target;
};
