#pragma once

#include "core/ConsoleServices.h"
#include "core/ListBox.h"
#include "core/modMain.h"
#include "tests/support/PrintQt.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::StringLiterals;

/// As if the operator had turned the mouse wheel over the control, one step down.
void TurnWheel(QWidget& control);

/// A console whose controls the test works by name, on a platform of the test's own: message boxes are kept and
/// answered.
class ConsoleTest : public ::testing::Test, protected Platform
{
protected:
    /// Where controls are looked for when no window is named.
    virtual QObject* Window() = 0;

    template <typename T>
    T& Control(const QObject& window, QAnyStringView name)
    {
        T* control = window.findChild<T*>(name.toString());
        EXPECT_TRUE(control) << name.toString().toStdString();
        return *control;
    }
    template <typename T>
    T& Control(QAnyStringView name)
    {
        return Control<T>(*Window(), name);
    }
    QLineEdit& Box(QAnyStringView name) { return Control<QLineEdit>(name); }
    QCheckBox& Check(QAnyStringView name) { return Control<QCheckBox>(name); }
    ListBox& List(QAnyStringView name) { return Control<ListBox>(name); }
    QString Text(const char* name) { return Box(name).text(); }
    void Type(const QObject& window, const char* name, const QString& text)
    {
        Control<QLineEdit>(window, name).setText(text);
    }
    void Type(const char* name, const QString& text) { Type(*Window(), name, text); }
    void Tick(const QObject& window, const char* name, bool ticked = true)
    {
        Control<QAbstractButton>(window, name).setChecked(ticked);
    }
    void Tick(const char* name, bool ticked = true) { Tick(*Window(), name, ticked); }
    void Press(const QObject& window, const char* name) { Control<QAbstractButton>(window, name).click(); }
    void Press(const char* name) { Press(*Window(), name); }
    void Choose(const QObject& window, const char* name, const QString& entry);
    void Choose(const char* name, const QString& entry) { Choose(*Window(), name, entry); }
    bool IsEnabled(const char* name) { return Control<QWidget>(name).isEnabled(); }
    /// Of all these controls, separated by blanks, the names of those that the operator can use now.
    QString EnabledOf(const QString& names);
    QStringList Column(const char* grid, int column);

    /// Runs once, when events are let run next.
    template <typename Action>
    void WhenEventsRun(Action action)
    {
        QMetaObject::invokeMethod(qApp, action, Qt::QueuedConnection);
    }

    /// The log's lines without their numbers.
    static QStringList Log();
    /// The same; the log is cleared.
    static QStringList TakeLog();
    QStringList TakeBoxes() { return std::exchange(m_Boxes, {}); }

    /// How a message box is kept: its icon (0: none, 1: information, 2: exclamation) and its text.
    virtual QString Describe(const QMessageBox& box) const { return QString::number(box.icon()) + u' ' + box.text(); }
    QMessageBox::StandardButton ShowBox(QMessageBox& box) override;
    void OpenInBrowser(const QUrl& page, const std::function<void()>& orElse) override;

    /// The guide's pages that were opened in a browser, as their way below its folder.
    QStringList m_Browsed;
    bool m_HasBrowser = true;
    QStringList m_Boxes;
    QMessageBox::StandardButton m_Answer = QMessageBox::Ok;
    /// What happens while a message box stands.
    std::function<void()> m_WhileAsking = [] {};
};
