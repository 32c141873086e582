#include "additem/frmAddItem.h"

#include "additem/AddedNode.h"
#include "additem/DefinitionControls.h"
#include "additem/FieldTexts.h"
#include "core/automation/ItemDefinition.h"
#include "core/automation/NumberText.h"
#include "core/FieldCheck.h"
#include "core/MessageBoxes.h"
#include "core/modFields.h"
#include "core/modMain.h"
#include "core/ObjectTreeModel.h"
#include "core/WindowPlace.h"

#include <QPointer>

using namespace modMain;

namespace {

void FollowCalculation(ListBox* list, QLineEdit* operand)
{
    EnableFields(NeedsOperand(OperatorAt(list->ListIndex())), {operand});
    list->setToolTip(list->currentText());
}

/// Puts the checked text back into its field; false when the text was refused.
bool PutBack(QLineEdit* field, const std::optional<QString>& text)
{
    if (text && *text != field->text()) field->setText(*text);
    return text.has_value();
}

QString Trimmed(const QString& text)
{
    return WithoutOuterBlanks(text).toString();
}

} // namespace

frmAddItem::frmAddItem(QWidget* parent)
    : QDialog(parent)
{
    setupUi(this);
    ConnectLists();
    ConnectCheckBoxes();
    ConnectFieldChecks();
    connect(sstbAddItem, &QTabWidget::currentChanged, this,
            [this](int page) { sstbAddItem_Click(std::exchange(m_ShownPage, page)); });
    connect(cmdOK, &QPushButton::clicked, this, &frmAddItem::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmAddItem::reject);
    Form_Load();
    for (QLineEdit* operand : {txtItem_1, txtItem_7}) operand->setMinimumWidth(18 * fontMetrics().averageCharWidth());
    SetFirstSize(*this, sizeHint());
}

void frmAddItem::ConnectLists()
{
    connect(cmbItemType, &ListBox::Click, this, &frmAddItem::cmbItemType_Click);
    connect(cmbClass, &ListBox::Click, this, &frmAddItem::cmbClass_Click);
    connect(cmbAttr, &ListBox::Click, this, &frmAddItem::cmbAttr_Click);
    connect(cmbCalc, &ListBox::Click, this, &frmAddItem::cmbCalc_Click);
    connect(cmbCalc2, &ListBox::Click, this, &frmAddItem::cmbCalc2_Click);
}

void frmAddItem::ConnectCheckBoxes()
{
    connect(chkVariable, &QCheckBox::stateChanged, this, &frmAddItem::chkVariable_Click);
    connect(chkInit, &QCheckBox::stateChanged, this, &frmAddItem::chkInit_Click);
    const auto enables = [this](QCheckBox* box, const QList<QWidget*>& fields) {
        const auto follow = [box, fields] {
            for (QWidget* field : fields) EnableFields(CheckToBool(box), {field});
        };
        connect(box, &QCheckBox::stateChanged, this, follow);
        // Fields that the form disables get the colour of disabled ones.
        follow();
    };
    enables(chkMask, {txtItem_0});
    enables(chkDdbd, {txtItem_2, txtItem_3});
    enables(chkMM, {txtItem_4, txtItem_5});
    enables(chkChatter, {txtItem_6});
    enables(chkReqType, {cmbReqType});
    enables(chkReqTypeW, {cmbReqTypeW});
}

void frmAddItem::ConnectFieldChecks()
{
    auto* check = new FieldCheck(this);
    check->Exempt(cmdCancel);
    check->Add(txtItemName, [this] { return txtItemName_Validate(); });
    for (QLineEdit* field : {txtItem_0, txtItem_6})
        check->Add(field, [field] { return PutBack(field, Int32Text(field->text())); });
    for (QLineEdit* field : {txtItem_2, txtItem_3, txtItem_4, txtItem_5})
        check->Add(field, [field] { return PutBack(field, SingleText(field->text())); });
    for (QLineEdit* field : {txtDesc, txtInitValue, txtLinkItem, txtObjName, txtObjOption, txtOption, txtVarName})
        check->Add(field, [field] { return PutBack(field, Trimmed(field->text())); });
}

void frmAddItem::Form_Load()
{
    FillLists(*this);
    setWindowTitle(QStringLiteral("VelSQLController:AddItem"));
    for (ListBox* list : {cmbClass, cmbAttr, cmbForce, cmbInitType, cmbCalc, cmbCalc2, cmbReqType, cmbReqTypeW})
        list->SetListIndex(0);
    sstbAddItem->setCurrentIndex(0);
    picFrame_1->setEnabled(false);
    EnableFields(false, {cmbReqType, cmbReqTypeW});
    for (QLineEdit* field : {txtItem_0, txtItem_2, txtItem_3, txtItem_4, txtItem_5, txtItem_6})
        field->setText(QStringLiteral("0"));
    cmbInitType->SetListIndex(3);
    for (ListBox* list : {cmbReqType, cmbReqTypeW}) list->SetListIndex(12);
    cmbItemType->SetListIndex(0);
    cmbLinkProp->SetListIndex(0);
    txtItemName->setFocus();
}

void frmAddItem::cmbItemType_Click()
{
    const int type = cmbItemType->ListIndex();
    if (type < 0) return;
    const bool normal = type == 0;
    const bool array = type == 2;
    chkVariable->setChecked(normal);
    chkVariable->setEnabled(normal);
    // On purpose also for an alias, although "VelVariable" is not ticked.
    EnableFields(!array, {txtVarName});
    EnableFields(normal, {txtOption, cmbClass});
    EnableFields(!array, {cmbLinkProp});
}

void frmAddItem::chkVariable_Click()
{
    const bool ticked = CheckToBool(chkVariable);
    EnableFields(ticked, {txtVarName, txtOption, cmbClass});
    if (!ticked || cmbClass->ListIndex() != 0) EnableFields(ticked, {txtObjName, txtObjOption});
}

void frmAddItem::cmbClass_Click()
{
    if (cmbClass->ListIndex() < 0) return;
    EnableFields(cmbClass->ListIndex() > 0, {txtObjName, txtObjOption});
}

void frmAddItem::cmbAttr_Click()
{
    if (cmbAttr->ListIndex() < 0) return;
    const bool readOnly = cmbAttr->ListIndex() == 1;
    chkInit->setEnabled(!readOnly);
    if (readOnly) EnableFields(false, {txtInitValue, cmbInitType});
    else chkInit_Click();
}

void frmAddItem::chkInit_Click()
{
    EnableFields(CheckToBool(chkInit), {cmbInitType, txtInitValue});
}

void frmAddItem::cmbCalc_Click()
{
    FollowCalculation(cmbCalc, txtItem_1);
}

void frmAddItem::cmbCalc2_Click()
{
    FollowCalculation(cmbCalc2, txtItem_7);
}

/// Only fields of the visible page can take the focus. When a page is hidden, its focus has gone to some button.
void frmAddItem::sstbAddItem_Click(int previousPage)
{
    picFrame_0->setEnabled(previousPage != 0);
    picFrame_1->setEnabled(previousPage != 1);
    if (sstbAddItem->tabBar()->hasFocus()) return;
    if (previousPage == 0) chkReqType->setFocus();
    else txtItemName->setFocus();
}

bool frmAddItem::txtItemName_Validate()
{
    const QString name = Trimmed(txtItemName->text());
    const QString complaint = NameComplaint(name);
    if (!complaint.isEmpty()) ShowExclamation(complaint);
    return complaint.isEmpty() && PutBack(txtItemName, name);
}

void frmAddItem::cmdOK_Click()
{
    ReportErrors([this] { AddItem(); });
}

void frmAddItem::AddItem()
{
    const Variant definition = ComposeDefinition(*this);
    Announce(u"Controller", u"AddItem");
    m_csCtrl->AddItem(definition);
    AddLog(QStringLiteral("Succeeded."));
    MainWindow* mainWindow = GetMainWindow();
    const TreeNodeRef node = InsertAddedNode(mainWindow->Tree(), m_TreeNode, *m_csCtrl, txtItemName->text());
    mainWindow->SelectNode(node);
    mainWindow->m_CurrentNode = node;
    mainWindow->RefreshStatusBar();
    accept();
}

void frmAddItem::done(int result)
{
    m_csCtrl.reset();
    m_TreeNode.reset();
    QDialog::done(result);
}

void ShowAddItem(const ControllerRef& controller, const TreeNodeRef& node)
{
    const QPointer<frmAddItem> dialog = new frmAddItem(GetMainWindow()->Widget());
    dialog->m_csCtrl = controller;
    dialog->m_TreeNode = node;
    dialog->exec();
    // Null when the main window has gone meanwhile and taken the dialog with it.
    delete dialog.data();
}
