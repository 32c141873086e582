#pragma once

#include "core/LinePane.h"

/// Shows what a script prints, plain or as an error. Keeps the end of it: a limited number of last lines.
class OutputPane : public LinePane
{
    Q_OBJECT

public:
    static constexpr int MaxLines = 10'000;
    /// In UTF-16 units: 4 MiB.
    static constexpr int MaxCharacters = 2 * 1024 * 1024;
    explicit OutputPane(QWidget* parent = nullptr);

    /// Adds `text` at the end, and scrolls to it unless the operator has scrolled away.
    void Append(const QString& text, Kind kind);

Q_SIGNALS:
    /// The operator double-clicked a line, or pressed Enter on it.
    void LineChosen(const QString& line);

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void DropEarlier(bool someAlready);
    void ChooseLineAtCaret();
};
