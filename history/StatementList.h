#pragma once

#include "core/ListBox.h"

/// The list of statements: long ones and those of several lines take one line each. Its actions stand in its context
/// menu.
class StatementList : public ListBox
{
    Q_OBJECT

public:
    /// The number of an entry that only separates others.
    static constexpr qint32 Separator = -1;

    explicit StatementList(QWidget* parent = nullptr);

    /// Whether a statement is selected: not nothing, not a separator.
    bool IsStatementSelected() const;
    /// Adds a statement unless an entry is equal to it, whatever upper and lower case.
    void Remember(const QString& statement);

Q_SIGNALS:
    /// Enter was pressed on the closed list.
    void Entered();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;
    void initStyleOption(QStyleOptionComboBox* option) const override;
};
