#include "core/FindBar.h"

#include "ui_FindBar.h"

#include <QShortcut>

namespace {

QString WordsFor(FindResult::Way way)
{
    switch (way) {
    case FindResult::Way::Straight: return {};
    case FindResult::Way::FromStart: return QStringLiteral("Went on from the start.");
    case FindResult::Way::FromEnd: return QStringLiteral("Went on from the end.");
    case FindResult::Way::NotFound: return QStringLiteral("Not found.");
    }
    return {};
}

void AddKey(QWidget* scope, const QKeySequence& key, FindBar* bar, void (FindBar::*command)())
{
    const auto* shortcut = new QShortcut(key, scope, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    QObject::connect(shortcut, &QShortcut::activated, bar, command);
}

} // namespace

FindTarget::~FindTarget() = default;

FindBar::FindBar(QWidget* parent)
    : QWidget(parent)
    , m_Ui(std::make_unique<Ui::FindBar>())
{
    m_Ui->setupUi(this);
    connect(m_Ui->txtFind, &QLineEdit::textEdited, this, &FindBar::txtFind_TextEdited);
    connect(m_Ui->txtFind, &QLineEdit::returnPressed, this, &FindBar::FindNext);
    connect(m_Ui->cmdFindNext, &QPushButton::clicked, this, &FindBar::FindNext);
    connect(m_Ui->cmdFindPrevious, &QPushButton::clicked, this, &FindBar::FindPrevious);
    connect(m_Ui->cmdFindClose, &QPushButton::clicked, this, &FindBar::Close);
    for (const int enter : {Qt::Key_Return, Qt::Key_Enter})
        AddKey(m_Ui->txtFind, static_cast<int>(Qt::SHIFT) | enter, this, &FindBar::FindPrevious);
}

FindBar::~FindBar() = default;

void FindBar::AddKeys(QWidget* scope)
{
    AddKey(scope, Qt::CTRL | Qt::Key_F, this, &FindBar::Open);
    AddKey(scope, Qt::Key_F3, this, &FindBar::FindNext);
    AddKey(scope, Qt::SHIFT | Qt::Key_F3, this, &FindBar::FindPrevious);
}

void FindBar::MakeNarrow()
{
    m_Ui->layFind->setDirection(QBoxLayout::TopToBottom);
    m_Ui->layFind->setContentsMargins(4, 0, 4, 4);
    m_Ui->lblFound->setWordWrap(true);
    m_Ui->lblFind->setText(m_Ui->lblFind->text().remove(u'&'));
    for (QPushButton* button : {m_Ui->cmdFindNext, m_Ui->cmdFindPrevious, m_Ui->cmdFindClose})
        button->setText(button->text().remove(u'&'));
}

QString FindBar::Text() const
{
    return m_Ui->txtFind->text();
}

void FindBar::Say(const FindResult& result)
{
    QStringList words = {result.Place, WordsFor(result.Found)};
    words.removeAll(QString());
    m_Ui->lblFound->setText(words.join(QStringLiteral(". ")));
}

void FindBar::Tell(const FindResult& result)
{
    Say(result);
    if (result.Found != FindResult::Way::Straight) show();
}

void FindBar::Open()
{
    if (const QString first = m_Target->FirstText(); !first.isEmpty()) m_Ui->txtFind->setText(first);
    m_Ui->lblFound->clear();
    show();
    m_Ui->txtFind->setFocus();
    m_Ui->txtFind->selectAll();
}

void FindBar::Close()
{
    m_Target->Leave();
    hide();
    m_Target->Control()->setFocus();
}

void FindBar::FindNext()
{
    Find(false);
}

void FindBar::FindPrevious()
{
    Find(true);
}

void FindBar::txtFind_TextEdited()
{
    m_Ui->lblFound->clear();
    if (Text().isEmpty()) m_Target->Leave();
    else Say(m_Target->Typed(Text()));
}

void FindBar::Find(bool backward)
{
    if (Text().isEmpty()) return Open();
    Tell(m_Target->Find(Text(), backward));
}
