#pragma once

#include "core/automation/ServerObjects.h"
#include "perfcheck/PerformanceLoop.h"
#include "ui_frmPerfChk.h"

#include <QDialog>

#include <memory>

/// The modal dialog that measures how fast the server writes and reads one item. While it is open the process has high
/// priority.
class frmPerfChk : public QDialog, private Ui::frmPerfChk
{
    Q_OBJECT

public:
    explicit frmPerfChk(QWidget* parent);
    ~frmPerfChk() override;

    /// The item to test; set by the opener.
    ItemRef m_csItem;

    /// Closes the dialog whatever it is doing: a run ends after its current cycle, silently.
    void Unload();

    /// The operator's ways of closing (frame, Esc, "Exit"); a running check keeps the dialog open.
    void reject() override;

private:
    enum class State
    {
        Idle,
        Running
    };

    void Form_Load();
    void FillValueTypeList();
    void ConnectOptions();
    void ConnectFieldChecks();
    void ConnectCommands();

    bool Validate(QLineEdit* field, qint32 minimum, qint32 maximum, const QString& complaint);
    void optPattern_Click();
    void optReadWrite_Click();
    void cmbValueType_Click();
    void cmdStart_Click();
    void cmdStop_Click();

    void SetRunningState(State state);
    bool Writes() const;
    CheckTask Task() const;
    CheckPattern Pattern() const;
    void Start();
    void RunPerformanceCheck(const CheckTask& task, const CheckPattern& pattern);
    void ShowResult(CheckResult result, quint32 start, const CheckTask& task);

    State m_State = State::Idle;
    bool m_Unloading = false;
    /// Shared with a running loop, which may outlive the dialog.
    std::shared_ptr<bool> m_Stop = std::make_shared<bool>(false);
};
