#pragma once

#include <QPointer>
#include <QWidget>

class QLineEdit;

/// A pair of arrows that count the number in a text field up and down.
class UpDown : public QWidget
{
    Q_OBJECT

public:
    explicit UpDown(QWidget* parent = nullptr);

    /// The field whose number is counted, from `minimum` to `maximum`; its Up and Down keys count, too.
    void SetBuddy(QLineEdit* field, qint32 minimum, qint32 maximum);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void AddArrow(Qt::ArrowType arrow, qint64 step);
    void Step(qint64 step);

    QPointer<QLineEdit> m_Buddy;
    qint64 m_Minimum = 0;
    qint64 m_Maximum = 0;
};
