#include "scripttool/frmScriptTool.h"

#include "core/automation/FindProgram.h"
#include "core/WindowPlace.h"

#include <QRegularExpression>
#include <QShortcut>

/// A static library's resources are linked only on request, and never from inside a namespace.
static void InitImages()
{
    Q_INIT_RESOURCE(scripttool);
}

namespace {

const QString ProgramName = QStringLiteral("velsqlscript");
/// The script process uses this name for the script in its messages, such as "Script:12: ...".
const QString Title = QStringLiteral("Script");

constexpr qsizetype LongestErrorLine = 4096;

/// The script's line, from 1, in the first message that has a line number; 0 when there is none.
int LineOfError(const QString& messages)
{
    static const QRegularExpression Place(u'^' + Title + QStringLiteral(":([0-9]{1,9})[^0-9]"),
                                          QRegularExpression::MultilineOption);
    return Place.match(messages).captured(1).toInt();
}

/// The script's line that an output line names, in a message or its call stack; 0 when there is none.
int LineNamed(const QString& output)
{
    static const QRegularExpression Step(QStringLiteral("^ +in line ([0-9]{1,9})\\b"));
    const int line = LineOfError(output + u'\n');
    return line > 0 ? line : Step.match(output).captured(1).toInt();
}

} // namespace

frmScriptTool::frmScriptTool(const QString& program)
    : m_Program(program)
{
    InitImages();
    setupUi(this);
    LayPanes();
    fraFind->SetPane(txtScript);
    ConnectCommands();
    ConnectKeys();
}

void frmScriptTool::LayPanes()
{
    const QFontMetrics letter = txtScript->fontMetrics();
    SetFirstSize(*this, {100 * letter.averageCharWidth(), 42 * letter.height()});
    cmdClear->setMinimumWidth(17 * fontMetrics().averageCharWidth()); // the caption would touch the edges
    splPanes->setStretchFactor(0, 2);
    splPanes->setStretchFactor(1, 1);
}

void frmScriptTool::ConnectCommands()
{
    connect(cmdRun, &QPushButton::clicked, this, &frmScriptTool::cmdRun_Click);
    connect(cmdStop, &QPushButton::clicked, this, &frmScriptTool::cmdStop_Click);
    connect(cmdFind, &QPushButton::clicked, fraFind, &FindBar::Open);
    connect(cmdClear, &QPushButton::clicked, txtOutput, &OutputPane::clear);
    connect(txtScript, &CodeEditor::Refused, lblStatus, &QLabel::setText);
    connect(txtOutput, &OutputPane::LineChosen, this, &frmScriptTool::txtOutput_LineChosen);
    connect(&m_Seconds, &QTimer::timeout, this, &frmScriptTool::ShowSeconds);
}

void frmScriptTool::ConnectKeys()
{
    const auto key = [this](QKeySequence keys, auto* receiver, auto command) {
        connect(new QShortcut(keys, this), &QShortcut::activated, receiver, command);
    };
    key(Qt::Key_F5, cmdRun, &QPushButton::click);
    key(Qt::SHIFT | Qt::Key_F5, cmdStop, &QPushButton::click);
    key(Qt::CTRL | Qt::Key_Period, cmdStop, &QPushButton::click);
    fraFind->AddKeys(this);
    key(Qt::Key_Escape, this, [this] {
        if (fraFind->isVisible()) fraFind->Close();
    });
}

void frmScriptTool::ShowForm()
{
    if (isMinimized()) showNormal();
    show();
    raise();
    activateWindow();
}

void frmScriptTool::cmdRun_Click()
{
    m_ErrorMarked = false;
    m_Errors.clear();
    txtScript->ClearError();
    const QString program = Program();
    if (program.isEmpty()) return ShowMissingProgram();
    m_Process = new ScriptProcess(this);
    connect(m_Process, &ScriptProcess::Printed, this, &frmScriptTool::Process_Printed);
    connect(m_Process, &ScriptProcess::Ended, this, &frmScriptTool::Process_Ended);
    m_Running.start();
    ShowRunning(true);
    ShowSeconds();
    m_Process->Start(program, Arguments(), Script().toUtf8());
}

void frmScriptTool::cmdStop_Click()
{
    m_Process->Stop();
    m_Seconds.stop();
    cmdStop->setEnabled(false);
    lblStatus->setText(QStringLiteral("Stopping..."));
}

void frmScriptTool::ShowMissingProgram()
{
    const QString message = QStringLiteral("The program \"%1\" was found neither beside this program nor on the path.");
    txtOutput->Append(message.arg(ProgramName) + u'\n', OutputPane::Kind::Error);
    lblStatus->setText(message.arg(ProgramName));
}

/// Empty when there is none.
QString frmScriptTool::Program() const
{
    return m_Program.isEmpty() ? FindProgram(ProgramName) : m_Program;
}

QStringList frmScriptTool::Arguments() const
{
    // The console starts a server only when the console itself starts.
    QStringList arguments{QStringLiteral("--attach"), QStringLiteral("--mark-errors"), QStringLiteral("--title"),
                          Title};
    for (const QString& name : m_Names) arguments << QStringLiteral("--name") << name;
    return arguments << QStringLiteral("-");
}

void frmScriptTool::Process_Printed(ScriptProcess::Channel channel, const QString& text)
{
    const bool isError = channel == ScriptProcess::Channel::Errors;
    txtOutput->Append(text, isError ? OutputPane::Kind::Error : OutputPane::Kind::Output);
    if (!isError || m_ErrorMarked) return;
    m_Errors += text;
    MarkFirstError();
    m_Errors = m_Errors.right(LongestErrorLine);
}

void frmScriptTool::MarkFirstError()
{
    const int line = LineOfError(m_Errors);
    if (line > 0) txtScript->MarkError(line);
    m_ErrorMarked = line > 0;
}

void frmScriptTool::Process_Ended(const QString& how)
{
    m_Process->deleteLater();
    m_Process = nullptr;
    ShowRunning(false);
    lblStatus->setText(how);
}

void frmScriptTool::ShowRunning(bool running)
{
    // The focus stays in the window when the button that has it is disabled.
    if (QWidget* pressed = running ? cmdRun : cmdStop; pressed->hasFocus()) txtScript->setFocus();
    cmdRun->setEnabled(!running);
    cmdStop->setEnabled(running);
    if (running) m_Seconds.start(1000);
    else m_Seconds.stop();
}

void frmScriptTool::ShowSeconds()
{
    lblStatus->setText(QStringLiteral("Running... %1 s").arg(m_Running.elapsed() / 1000));
}

void frmScriptTool::txtOutput_LineChosen(const QString& line)
{
    const int number = LineNamed(line);
    if (number == 0) return;
    txtScript->GoToLine(number);
    txtScript->setFocus();
}
