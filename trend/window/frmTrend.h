#pragma once

#include "core/Platform.h"
#include "guide/Guide.h"
#include "trend/window/CsvExport.h"
#include "trend/window/PenModel.h"
#include "trend/window/PictureView.h"
#include "trend/window/ViewControl.h"
#include "ui_frmTrend.h"

#include <QElapsedTimer>
#include <QMainWindow>

/// A trend: the picture, below it the list of its pens.
class frmTrend : public QMainWindow, private Ui::frmTrend
{
    Q_OBJECT

public:
    explicit frmTrend(MakeLibrary make);
    ~frmTrend() override;

    void AddItems(const QStringList& items);
    /// This span, or so much time until now; else the last hour.
    void ShowSpan(const std::optional<Span>& span, const std::optional<Micros>& length);
    /// What a view file keeps.
    SavedView Saved() const;
    void Open(const SavedView& saved);
    /// Throws DescribedError.
    void OpenFile(const QString& path);

protected:
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void ConnectFile();
    void Report(const std::function<void()>& action);
    void SaveView();
    void ExportPicture();
    void ExportCsv();
    void EndExport(const ExportResult& result);
    void CopyPicture();
    std::vector<const Pen*> AllPens() const;
    void ConnectPens();
    void ConnectView();
    void ConnectMeasuring();
    void ConnectData();
    void AddPresets();
    void LayOut();
    void TakeTurn();
    void ShowView();
    void SayTrouble();
    void ShowReadings();
    void SayPointed(std::optional<Micros> time);
    void TypeSpan();
    void Choose();
    int CurrentRow() const;
    QList<int> SelectedRows() const;
    void SelectRow(int row);
    void MovePen(int by);
    void RemovePens();
    void ChangePens(const std::function<void(PenSettings&)>& change);
    void ChooseColour();
    void AskLimits();
    void EnableEntries();

    MakeLibrary m_Make;
    Platform m_Platform;
    Guide m_Guide{m_Platform};
    TrendData m_Data;
    ViewControl m_Control;
    PenModel m_Pens;
    std::unique_ptr<CsvExport> m_Export;
    QTimer m_Turn;
    QElapsedTimer m_SinceList;
    QLabel m_Pointed; ///< the time at the mouse
    bool m_HasMeasured = false;
    bool m_IsListOld = true;
    bool m_IsPictureOld = true;
};
