#include "perfcheck/frmPerfChk.h"

#include "core/automation/NumberText.h"
#include "core/FieldCheck.h"
#include "core/MessageBoxes.h"
#include "core/modAPI.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/modValues.h"
#include "core/WindowPlace.h"

#include <QPointer>

using namespace modMain;

namespace {

constexpr int TypeIndexBstr = 10;
// More would not fit into 32 bits of milliseconds.
constexpr qint32 MaxHour = 500;
constexpr qint32 MaxMinute = 59;
constexpr qint32 MaxCount = 65535;

QString LocalTime()
{
    return modAPI::GetLocalTime().toString(QStringLiteral("MM/dd hh:mm:ss.zzz"));
}

double Number(const QLineEdit* field)
{
    const std::optional<double> number = ParseNumber(field->text());
    if (!number) throw ValueError::TypeMismatch();
    return *number;
}

/// The whole text, however many elements the value has: the operator is to see what was measured.
QString WrittenText(const Variant& value)
{
    return value.IsEmpty() || value.IsNull() ? QString() : ValueTextOf(Converter().ValueToText(value, 0));
}

/// The operations are named as in the server's interface.
QString FailureText(CheckResult result)
{
    switch (result) {
    case CheckResult::WriteFailed: return QStringLiteral("'IVelSQLItem->put_Value' is failed.");
    case CheckResult::ReadFailed: return QStringLiteral("'IVelSQLItem->get_Value' is failed.");
    default: return QStringLiteral("Write data and read data are different.");
    }
}

} // namespace

frmPerfChk::frmPerfChk(QWidget* parent)
    : QDialog(parent)
{
    setupUi(this);
    Form_Load();
    ConnectOptions();
    ConnectFieldChecks();
    ConnectCommands();
    SetRunningState(State::Idle);
    SetFirstSize(*this, sizeHint());
}

frmPerfChk::~frmPerfChk()
{
    *m_Stop = true;
    modAPI::SetPriorityClass(modAPI::NORMAL_PRIORITY_CLASS); // intended: whatever the class was before
}

void frmPerfChk::Form_Load()
{
    modAPI::SetPriorityClass(modAPI::HIGH_PRIORITY_CLASS);
    for (QLineEdit* field : {txtHour, txtMinute, txtPatternCount}) modAPI::SetNumberOnly(field);
    udPatternCount->SetBuddy(txtPatternCount, 1, MaxCount);
    FillValueTypeList();
}

void frmPerfChk::FillValueTypeList()
{
    FillTypeList(cmbValueType);
    cmbValueType->SetListIndex(TypeIndexBstr);
}

void frmPerfChk::ConnectOptions()
{
    for (QRadioButton* option : {optPattern_0, optPattern_1, optPattern_2})
        connect(option, &QRadioButton::toggled, this, &frmPerfChk::optPattern_Click);
    for (QRadioButton* option : {optReadWrite_0, optReadWrite_1, optReadWrite_2})
        connect(option, &QRadioButton::toggled, this, &frmPerfChk::optReadWrite_Click);
    connect(cmbValueType, &ListBox::Click, this, &frmPerfChk::cmbValueType_Click);
}

void frmPerfChk::ConnectFieldChecks()
{
    auto* check = new FieldCheck(this);
    const auto add = [&](QLineEdit* field, qint32 minimum, qint32 maximum, const QString& complaint) {
        check->Add(field, [=, this] { return Validate(field, minimum, maximum, complaint); });
    };
    add(txtHour, 0, MaxHour, QStringLiteral("Input the integer of 0 to 500 into the hour."));
    add(txtMinute, 0, MaxMinute, QStringLiteral("Input the integer of 0 to 59 into the minute."));
    add(txtPatternCount, 1, MaxCount, QStringLiteral("Input the integer of 1 to 65535 into the number of times."));
}

void frmPerfChk::ConnectCommands()
{
    connect(cmdStart, &QPushButton::clicked, this, &frmPerfChk::cmdStart_Click);
    connect(cmdStop, &QPushButton::clicked, this, &frmPerfChk::cmdStop_Click);
    connect(cmdClear, &QPushButton::clicked, lvResult, &ResultList::clear);
    connect(cmdExit, &QPushButton::clicked, this, &frmPerfChk::reject);
}

void frmPerfChk::Unload()
{
    m_Unloading = true;
    *m_Stop = true;
    QDialog::reject();
}

void frmPerfChk::reject()
{
    if (m_State == State::Idle) QDialog::reject();
}

bool frmPerfChk::Validate(QLineEdit* field, qint32 minimum, qint32 maximum, const QString& complaint)
{
    QString text = field->text();
    try {
        if (NormalizeIntegerText(text) && text.toInt() >= minimum && text.toInt() <= maximum) {
            field->setText(text);
            return true;
        }
    } catch (const ValueError&) {
        // A number beyond 32 bits is out of range, too.
    }
    ShowExclamation(complaint);
    SelectAllText(field);
    return false;
}

void frmPerfChk::optPattern_Click()
{
    EnableFields(optPattern_0->isChecked(), {txtHour, txtMinute});
    lblTimeDelimiter->setEnabled(optPattern_0->isChecked());
    EnableFields(optPattern_1->isChecked(), {txtPatternCount});
    udPatternCount->setEnabled(optPattern_1->isChecked());
}

void frmPerfChk::optReadWrite_Click()
{
    lblValue->setEnabled(Writes());
    EnableFields(Writes(), {cmbValueType, txtValue});
    chkDataCheck->setEnabled(optReadWrite_2->isChecked());
    cmbValueType_Click();
}

void frmPerfChk::cmbValueType_Click()
{
    cmdStart->setEnabled(!Writes() || cmbValueType->ListIndex() != UnknownTypeIndex);
}

void frmPerfChk::SetRunningState(State state)
{
    m_State = state;
    const bool idle = state == State::Idle;
    const QList<QWidget*> plain = {fraPattern,   optPattern_0,   optPattern_1,   optPattern_2,
                                   fraReadWrite, optReadWrite_0, optReadWrite_1, optReadWrite_2,
                                   chkIgnore,    chkOutput,      cmdClear,       cmdExit};
    // First of all, so that the focus has somewhere to go.
    cmdStop->setEnabled(!idle);
    for (QWidget* control : plain) control->setEnabled(idle);
    if (idle) {
        optPattern_Click();
        optReadWrite_Click();
        return;
    }
    EnableFields(false, {txtHour, txtMinute, txtPatternCount, cmbValueType, txtValue});
    for (QWidget* control :
         {static_cast<QWidget*>(lblTimeDelimiter), static_cast<QWidget*>(udPatternCount),
          static_cast<QWidget*>(lblValue), static_cast<QWidget*>(chkDataCheck), static_cast<QWidget*>(cmdStart)})
        control->setEnabled(false);
}

bool frmPerfChk::Writes() const
{
    return !optReadWrite_0->isChecked();
}

/// Throws ValueError when the value does not fit its type.
CheckTask frmPerfChk::Task() const
{
    CheckTask task{.Item = m_csItem, .Writes = Writes(), .Reads = !optReadWrite_1->isChecked()};
    if (task.Writes) task.Value = ToValue(cmbValueType->ListIndex(), txtValue->text());
    task.ChecksData = optReadWrite_2->isChecked() && CheckToBool(chkDataCheck);
    task.IgnoresErrors = CheckToBool(chkIgnore);
    task.OutputsValue = CheckToBool(chkOutput);
    return task;
}

CheckPattern frmPerfChk::Pattern() const
{
    using enum CheckPattern::Kind;
    if (optPattern_0->isChecked())
        return {.Repeats = Timed, .Duration = RoundToInt32(Number(txtHour) * 3'600'000 + Number(txtMinute) * 60'000)};
    if (optPattern_1->isChecked()) return {.Repeats = Counted, .Count = RoundToInt32(Number(txtPatternCount))};
    return {.Repeats = Endless};
}

void frmPerfChk::cmdStart_Click()
{
    const QPointer<frmPerfChk> self(this);
    SetRunningState(State::Running);
    *m_Stop = false;
    ReportErrors(&frmPerfChk::Start, this);
    if (!self) return;
    SetRunningState(State::Idle);
    if (!m_Unloading) cmdStart->setFocus();
}

void frmPerfChk::Start()
{
    const QPointer<frmPerfChk> self(this);
    SetStatus(QStringLiteral("Runnning performance check...")); // spelled like this on purpose
    RunPerformanceCheck(Task(), Pattern());
    if (self) SetStatus(QString());
}

void frmPerfChk::RunPerformanceCheck(const CheckTask& task, const CheckPattern& pattern)
{
    const QPointer<frmPerfChk> self(this);
    const auto stop = m_Stop; // for a loop that outlives the dialog
    const quint32 start = modAPI::GetTickCount();
    lvResult->AddRow(QStringLiteral("START"), LocalTime(), QStringLiteral(" "), QStringLiteral(" "));
    const CheckResult result = RunPerformanceLoop(task, pattern, start, *stop);
    if (self && !m_Unloading) ShowResult(result, start, task);
}

void frmPerfChk::ShowResult(CheckResult result, quint32 start, const CheckTask& task)
{
    if (result == CheckResult::Success) {
        const quint32 elapsed = ElapsedTicks(start, modAPI::GetTickCount());
        const QString value = task.Writes ? WrittenText(task.Value) : QStringLiteral(" ");
        lvResult->AddRow(QStringLiteral("END"), LocalTime(), QString::number(elapsed), value);
        return;
    }
    lvResult->AddRow(QStringLiteral("ERROR OCCURED!")); // spelled like this on purpose
    ShowExclamation(FailureText(result));
}

void frmPerfChk::cmdStop_Click()
{
    *m_Stop = true;
}
