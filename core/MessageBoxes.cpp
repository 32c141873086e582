#include "core/MessageBoxes.h"

#include "core/modMain.h"
#include "core/Platform.h"

#include <QApplication>

namespace modMain {

namespace {

/// The open modal dialog, else the main window: a box behind the dialog that waits for it could not be answered.
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
    return GetPlatform().ShowBox(box);
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

} // namespace modMain
