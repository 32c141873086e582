#pragma once

#include "core/ListBox.h"

/// The list of statements: long statements and those of several lines take one line each. Its context menu also holds
/// its actions.
class StatementList : public ListBox
{
    Q_OBJECT

public:
    /// The data of an entry that is only a separator.
    static constexpr qint32 Separator = -1;

    explicit StatementList(QWidget* parent = nullptr);

    /// Whether a statement is selected, rather than nothing or a separator.
    bool IsStatementSelected() const;
    /// Adds a statement unless the list already has it, in whatever case.
    void Remember(const QString& statement);

Q_SIGNALS:
    /// Enter was pressed on the closed list.
    void Entered();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    void initStyleOption(QStyleOptionComboBox* option) const override;
};
