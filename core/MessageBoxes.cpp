#include "core/MessageBoxes.h"

#include "core/modMain.h"

#include <QCoreApplication>

#include <utility>

namespace modMain {

namespace {

MessageBoxRunner Runner;

QMessageBox::StandardButton Run(QMessageBox::Icon icon, const QString& text, QMessageBox::StandardButtons buttons)
{
    MainWindow* mainWindow = GetMainWindow();
    QMessageBox box(icon, QCoreApplication::applicationName(), text, buttons,
                    mainWindow ? mainWindow->Widget() : nullptr);
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
