#pragma once

#include "trend/data/TrendData.h"
#include "trend/files/PictureFile.h"

/// What is to be written without a window.
struct ReportOrder
{
    QString Picture;   ///< file; empty: none
    QString Table;     ///< file; empty: none
    int Intervals = 0; ///< of the table; 0: every value
    PictureFile::Format Format;
    bool IsDark = false;
};

/// Writes a picture or a table of a view when everything that it shows has come.
class Report : public QObject
{
    Q_OBJECT

public:
    enum Result
    {
        Whole = 0,
        Incomplete = 1, ///< written, but for what Troubles says; or not written
        NoServer = 3
    };

    Report(const MakeLibrary& make, const ReportOrder& order, const SavedView& view);

    /// Waits for the server, but not for ever. Throws DescribedError for files that cannot be written.
    Result Run();
    /// What is missing, a line each.
    const QStringList& Troubles() const { return m_Troubles; }

private:
    bool IsReady();
    void NoteTroubles();
    bool NeedsPicture() const { return !m_Order.Picture.isEmpty() || m_Order.Intervals > 0; }
    void Write();
    void WriteValues();

    const MakeLibrary m_Make;
    const ReportOrder m_Order;
    View m_View;
    TrendData m_Data;
    QStringList m_Troubles;
};
