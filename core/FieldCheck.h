#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>

#include <functional>

class QLineEdit;

/// Checks the fields of one window when they lose the focus. A refused field keeps the focus with its whole text selected, and the
/// action that would have moved the focus does not happen: the click, the tab page, Alt+letter, Enter. No check on window switch,
/// pop-ups and disabling, nor on the way to an exempt control (a Cancel button) or when the window closes.
class FieldCheck : public QObject
{
    Q_OBJECT

public:
    /// True: accepted (it may have rewritten the text).
    using Check = std::function<bool()>;

    explicit FieldCheck(QWidget* window);
    ~FieldCheck() override;

    void Add(QLineEdit* field, Check check);
    /// Pressing this control never runs a check.
    void Exempt(QWidget* control);

    bool eventFilter(QObject* watched, QEvent* event) override;
};
