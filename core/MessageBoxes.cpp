#include "core/MessageBoxes.h"

#include "core/modMain.h"

#include <QApplication>

#include <utility>

namespace modMain {

namespace {

MessageBoxRunner Runner;

/// The modal dialog that is open, else the main window: a box behind the one that waits for it could not be answered.
QWidget* WindowInFront()
{
    if (QWidget* dialog = QApplication::activeModalWidget()) return dialog;
    MainWindow* mainWindow = GetMainWindow();
    return mainWindow ? mainWindow->Widget() : nullptr;
}

QMessageBox::StandardButton Run(QMessageBox::Icon icon, const QString& text, QMessageBox::StandardButtons buttons)
{
    QMessageBox box(icon, QCoreApplication::applicationName(), text, buttons, WindowInFront());
    box.setTextFormat(Qt::PlainText);
    return Runner ? Runner(box) : static_cast<QMessageBox::StandardButton>(box.exec());
}

} // namespace

bool AskSure()
{
    return Run(QMessageBox::Information, QStringLiteral("Are you sure ?"), QMessageBox::Yes | QMessageBox::No) ==
           QMessageBox::Yes;
}

void ShowExclamation(const QString& text)
{
    Run(QMessageBox::Warning, text, QMessageBox::Ok);
}

void ShowPlain(const QString& text)
{
    Run(QMessageBox::NoIcon, text, QMessageBox::Ok);
}

MessageBoxRunner ReplaceMessageBoxes(MessageBoxRunner runner)
{
    return std::exchange(Runner, std::move(runner));
}

} // namespace modMain
