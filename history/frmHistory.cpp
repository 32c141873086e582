#include "history/frmHistory.h"

#include "core/automation/PlainText.h"
#include "core/ConsoleServices.h"
#include "core/GridRefresher.h"
#include "core/modMain.h"

#include <QApplication>
#include <QShortcut>

using namespace modMain;
using namespace Qt::StringLiterals;

namespace {

// Intended: unlike in the controller window, no margin is subtracted from the value column.
constexpr PropertyGrid::Layout GridLayout = {.CaptionTwips = 1600, .MarginTwips = 0};

/// More than half of any window: what is missing is taken from both halves alike.
constexpr int HalfOfAny = 10'000;

const QStringList Presets = {
    u"SELECT * FROM velsql_history"_s,
    u"SELECT * FROM velsql_history WHERE item_value = '0'"_s,
    u"SELECT COUNT(*) AS item_count FROM velsql_history GROUP BY controller_name, item_name"_s,
    u"SELECT AVG(item_value) AS item_Average FROM velsql_history GROUP BY controller_name, item_name"_s,
    u"SELECT * FROM velsql_history ORDER BY item_time ASC"_s,
    u"SELECT * FROM velsql_history ORDER BY item_time DESC"_s,
};

/// The application's history. Throws ServerError when there is no history.
VelSQLHistory& TheHistory()
{
    if (!modMain::History) throw ServerError(u"There is no history."_s);
    return *modMain::History;
}

/// The seven rows of the settings grid, in order.
PropertyRows HistoryRows()
{
    PropertyRows rows = {{u"Enabled"_s, [] { return FormatBool(TheHistory().get_Enabled()); }}};
    for (const qint32 i : {1, 2}) {
        rows << PropertyRow{u"ConnectionString(%1)"_s.arg(i), [i] { return TheHistory().get_ConnectionString(i); }}
             << PropertyRow{u"TableName(%1)"_s.arg(i), [i] { return TheHistory().get_TableName(i); }}
             << PropertyRow{u"MaxRecord(%1)"_s.arg(i), [i] { return QString::number(TheHistory().get_MaxRecord(i)); }};
    }
    return rows;
}

} // namespace

/// While a statement runs, the pointer shows it and no other statement can be started; both end with it, whatever
/// happens.
class frmHistory::Running
{
public:
    explicit Running(frmHistory& form)
        : m_Form(form)
        , m_HadFocus(form.focusWidget() == form.cmdExecute)
    {
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        m_Form.cmdExecute->setEnabled(false);
        m_Form.cmdExecute->repaint(); // must be visible before the call blocks
    }
    ~Running()
    {
        m_Form.cmdExecute->setEnabled(true);
        if (m_HadFocus) m_Form.cmdExecute->setFocus();
        SetStatus(u"Ready."_s);
        QGuiApplication::restoreOverrideCursor();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    frmHistory& m_Form;
    const bool m_HadFocus;
};

frmHistory::frmHistory()
    : m_Insert(new QAction(u"&Insert"_s, this))
{
    setupUi(this);
    m_Settings = new GridRefresher(grdProperties, GetMainWindow()->Services().Turns, this);
    splSettings->setSizes({HalfOfAny, HalfOfAny});
    ConnectPresence();
    ConnectStatements();
    ConnectCommands();
}

/// Settings that could not be read are read when the server is there again; otherwise they are read once.
void frmHistory::ConnectPresence()
{
    ServerPresence& presence = GetMainWindow()->Services().Presence;
    grdProperties->Follow(presence);
    connect(&presence, &ServerPresence::Changed, this, [this, &presence] {
        if (presence.Absence().isEmpty() && grdProperties->HasFailedRows() && !IsUnloading()) RefreshHistoryGrid();
    });
}

void frmHistory::ConnectStatements()
{
    connect(cmbSQLCommand, &ListBox::Click, this, &frmHistory::cmbSQLCommand_Click);
    connect(cmbSQLCommand, &StatementList::Entered, this, &frmHistory::InsertSQLCommand);
    connect(m_Insert, &QAction::triggered, this, &frmHistory::InsertSQLCommand);
    cmbSQLCommand->addAction(m_Insert);
    txtExecute->addAction(m_Insert);
}

void frmHistory::ConnectCommands()
{
    connect(cmdOverwrite, &QPushButton::clicked, this, &frmHistory::cmdOverwrite_Click);
    connect(cmdExecute, &QPushButton::clicked, this, &frmHistory::cmdExecute_Click);
    connect(cmdHide, &QPushButton::clicked, this, &frmHistory::HideForm);
    connect(&grdResult->Model(), &ResultModel::Progressed, this,
            [this] { lblRows->setText(grdResult->Model().Summary()); });
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | key), this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        connect(shortcut, &QShortcut::activated, cmdExecute, &QPushButton::click);
    }
}

QSize frmHistory::sizeHint() const
{
    return ChildWindow::sizeHint().expandedTo({150 * fontMetrics().averageCharWidth(), 33 * fontMetrics().height()});
}

bool frmHistory::Load()
{
    m_TreeNode = HistoryNode;
    if (!LayoutHistoryGrid()) return false;
    AddPresets();
    cmbSQLCommand->SetListIndex(0);
    return true;
}

void frmHistory::FormUnload()
{
    grdResult->Show(ResultReader());
    m_TreeNode.reset();
}

/// False when the window was unloaded while the grid was laid out.
bool frmHistory::LayoutHistoryGrid()
{
    grdProperties->Lay(HistoryRows(), GridLayout);
    if (IsUnloading()) return false;
    RefreshHistoryGrid();
    return true;
}

void frmHistory::RefreshHistoryGrid()
{
    grdProperties->setUpdatesEnabled(false);
    m_Settings->RefreshNow();
    grdProperties->setUpdatesEnabled(true);
}

void frmHistory::AddPresets()
{
    cmbSQLCommand->AddItems(Presets);
    cmbSQLCommand->AddItem(u"-----"_s, StatementList::Separator);
}

void frmHistory::InsertSQLCommand()
{
    if (cmbSQLCommand->IsStatementSelected()) txtExecute->InsertAtCaret(cmbSQLCommand->currentText());
}

void frmHistory::cmbSQLCommand_Click()
{
    cmbSQLCommand->setToolTip(cmbSQLCommand->currentText());
    m_Insert->setEnabled(cmbSQLCommand->IsStatementSelected());
}

void frmHistory::cmdOverwrite_Click()
{
    if (cmbSQLCommand->IsStatementSelected()) txtExecute->SetText(cmbSQLCommand->currentText());
}

void frmHistory::cmdExecute_Click()
{
    const KeepLoaded keepLoaded(this);
    const Running running(*this);
    ReportErrors(&frmHistory::Execute, this);
    // Clicks made while the statement ran reach a disabled button.
    QCoreApplication::processEvents();
}

void frmHistory::Execute()
{
    Announce(u"History", u"Execute");
    const QString statement = txtExecute->Text();
    // The column layout belongs to the previous result: a statement that fails leaves both.
    grdResult->Show(ResultReader(TheHistory().Execute(statement)));
    AddLog(u"Succeeded."_s);
    cmbSQLCommand->Remember(statement);
}
