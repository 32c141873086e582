#include "guide/frmGuide.h"

#include "core/WindowPlace.h"

#include <QApplication>
#include <QShortcut>
#include <QStyle>
#include <QWindow>

namespace {

const QString FirstPage = QStringLiteral("user-guide.html");

} // namespace

frmGuide::frmGuide(const QString& folder)
{
    setupUi(this);
    setWindowIcon(style()->standardIcon(QStyle::SP_DialogHelpButton));
    txtPage->SetFolder(folder);
    fraFind->SetPane(txtPage);
    SetFirstSize(*this, {140 * fontMetrics().averageCharWidth(), 50 * fontMetrics().height()});
    ConnectCommands();
    ConnectKeys();
}

void frmGuide::ConnectCommands()
{
    connect(cmdBack, &QPushButton::clicked, txtPage, &PageView::backward);
    connect(cmdForward, &QPushButton::clicked, txtPage, &PageView::forward);
    connect(cmdFirst, &QPushButton::clicked, txtPage, [this] { txtPage->ShowPage(FirstPage); });
    connect(cmdFind, &QPushButton::clicked, fraFind, &FindBar::Open);
    connect(txtPage, &PageView::backwardAvailable, cmdBack, &QPushButton::setEnabled);
    connect(txtPage, &PageView::forwardAvailable, cmdForward, &QPushButton::setEnabled);
    connect(txtPage, &PageView::sourceChanged, this, &frmGuide::txtPage_SourceChanged);
    connect(txtPage, &PageView::highlighted, this, &frmGuide::txtPage_Highlighted);
    connect(txtPage, &PageView::Refused, this, &frmGuide::txtPage_Refused);
}

void frmGuide::ConnectKeys()
{
    const auto key = [this](QKeySequence keys, auto* receiver, auto command) {
        connect(new QShortcut(keys, this), &QShortcut::activated, receiver, command);
    };
    key(Qt::ALT | Qt::Key_Left, cmdBack, &QPushButton::click);
    key(Qt::ALT | Qt::Key_Right, cmdForward, &QPushButton::click);
    key(Qt::ALT | Qt::Key_Home, cmdFirst, &QPushButton::click);
    fraFind->AddKeys(this);
    key(Qt::CTRL | Qt::Key_W, this, &QWidget::close);
    key(Qt::CTRL | Qt::Key_Plus, txtPage, [this] { txtPage->zoomIn(); });
    key(Qt::CTRL | Qt::Key_Minus, txtPage, [this] { txtPage->zoomOut(); });
    key(Qt::Key_Escape, this, [this] {
        if (fraFind->isVisible()) fraFind->Close();
        else close();
    });
}

void frmGuide::ShowPage(const QString& page)
{
    fraFind->hide(); // it tells of the page before
    txtPage->ShowPage(page);
    txtPage_SourceChanged();
    StandBeside(QApplication::activeModalWidget());
    if (isMinimized()) showNormal();
    show();
    raise();
    activateWindow();
    txtPage->setFocus();
}

/// A modal dialog leaves other windows without input, but not those that stand in front of it.
void frmGuide::StandBeside(QWidget* dialog)
{
    winId(); // makes the window that is told of the dialog
    QWindow* before = dialog ? dialog->window()->windowHandle() : nullptr;
    if (windowHandle()->transientParent() == before) return;
    hide(); // whether it has input is decided when it is shown
    windowHandle()->setTransientParent(before);
}

void frmGuide::txtPage_SourceChanged()
{
    lblStatus->clear();
    setWindowTitle(QStringLiteral("%1 - Guide").arg(txtPage->documentTitle()));
}

void frmGuide::txtPage_Highlighted(const QUrl& link)
{
    lblStatus->setText(link.isLocalFile() ? QString() : link.toDisplayString());
}

void frmGuide::txtPage_Refused(const QUrl& link)
{
    lblStatus->setText(QStringLiteral("Not a page of the guide: %1").arg(link.toDisplayString()));
}
