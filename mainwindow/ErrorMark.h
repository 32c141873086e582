#pragma once

#include <QAbstractButton>

class LogPane;
class QMdiArea;

/// Shows along the lower edge of the child area that errors came while the log is hidden; pressing it asks for the log.
/// Gone as soon as the log is shown or empty.
class ErrorMark : public QAbstractButton
{
    Q_OBJECT

public:
    ErrorMark(LogPane* log, QMdiArea* children);

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void CountError();
    void SetCount(int count);
    void Place();

    LogPane* m_Log;
    QMdiArea* m_Children;
    int m_Count = 0;
};
