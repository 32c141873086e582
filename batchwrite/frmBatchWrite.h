#pragma once

#include "core/automation/ServerObjects.h"
#include "core/ChildWindow.h"
#include "ui_frmBatchWrite.h"

#include <memory>

class FramePacer;

/// Writes a list of typed values, read line by line from a text file, to the items of one controller. The application
/// has only one such window.
class frmBatchWrite : public ChildWindow, private Ui::frmBatchWrite
{
    Q_OBJECT

public:
    /// A run may be started inside a run, up to this depth; further starts do nothing.
    static constexpr int DeepestRun = 8;

    frmBatchWrite();

    const QString& TargetController() const { return m_TargetController; }
    /// The name of the controller that the next run writes to.
    void SetTargetController(const QString& name);

private:
    void cmdOpen_Click();
    void cmdStart_Click();
    void cmdStop_Click();

    void RunBatch();
    bool LetEventsRun(FramePacer& pacer);

    QString m_TargetController;
    bool m_StopRequest = false;
    int m_Runs = 0;
    /// Shared by all runs under way.
    std::weak_ptr<FramePacer> m_Pacer;
};
