#include "controller/frmEngine.h"

#include "core/automation/PlainText.h"
#include "core/modMain.h"

using namespace modMain;

frmEngine::frmEngine()
{
    setupUi(this);
    connect(cmdStart, &QPushButton::clicked, this, &frmEngine::cmdStart_Click);
    connect(cmdStop, &QPushButton::clicked, this, &frmEngine::cmdStop_Click);
    connect(cmdSnapshot, &QPushButton::clicked, this, &frmEngine::cmdSnapshot_Click);
    connect(cmdExecute, &QPushButton::clicked, this, &frmEngine::cmdExecute_Click);
    connect(cmdHide, &QPushButton::clicked, this, &frmEngine::HideForm);
}

bool frmEngine::Load()
{
    m_TreeNode = EngineNode;
    return true;
}

void frmEngine::FormUnload()
{
    m_TreeNode.reset();
}

void frmEngine::cmdStart_Click()
{
    CallServer(u"Engine", u"Start", &VelSQLEngine::Start, Engine);
}

void frmEngine::cmdStop_Click()
{
    CallServer(u"Engine", u"Stop", &VelSQLEngine::Stop, Engine);
}

void frmEngine::cmdSnapshot_Click()
{
    CallServer(u"Engine", u"Snapshot", &VelSQLEngine::Snapshot, Engine);
}

void frmEngine::cmdExecute_Click()
{
    ReportErrors([this] {
        Announce(u"Engine", u"Execute");
        const Variant result = Engine->Execute(txtCommand->text());
        // On purpose before the result is shown: the call has succeeded even when its result cannot be shown.
        AddLog(QStringLiteral("Succeeded."));
        // A result without plain text leaves the previous one.
        lblResult->SetText(ToPlainText(result));
    });
}
