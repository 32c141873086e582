#pragma once

#include "trend/data/FeedThread.h"
#include "trend/export/ExportFeed.h"

#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>

/// A table of every value on its way into a file, and the box that says how far it is and cancels it.
class CsvExport : public QObject
{
    Q_OBJECT

public:
    /// The box stands before `window`. Throws DescribedError when there is no thread to be had.
    CsvExport(const MakeLibrary& make, ExportOrder order, QWidget* window);
    /// Cancels what has not ended.
    ~CsvExport() override;

    const QString& Path() const { return m_Order.Path; }

Q_SIGNALS:
    void Finished(const ExportResult& result);

private:
    void LayOut();
    void ShowProgress(Micros until, qint64 rows);
    void End(const ExportResult& result);

    const ExportOrder m_Order;
    QDialog m_Box;
    QLabel m_Text;
    QProgressBar m_Bar;
    QTimer m_ShowSoon;
    FeedThread<ExportFeed> m_Feed;
};
