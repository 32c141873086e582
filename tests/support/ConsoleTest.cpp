#include "tests/support/ConsoleTest.h"

#include "core/LogPane.h"
#include "core/modFields.h"
#include "core/PropertyGrid.h"

#include <QDir>
#include <QRegularExpression>
#include <QWheelEvent>

void TurnWheel(QWidget& control)
{
    const QPointF place = control.rect().center();
    QWheelEvent event(place, control.mapToGlobal(place), {}, {0, -120}, {}, {}, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event); // an event of the program would be marked as such
    qApp->notify(&control, &event);
}

void ConsoleTest::Choose(const QObject& window, const char* name, const QString& entry)
{
    auto& list = Control<ListBox>(window, name);
    list.SetListIndex(list.findText(entry));
}

QString ConsoleTest::EnabledOf(const QString& names)
{
    QStringList enabled = names.split(u' ');
    enabled.removeIf([this](const QString& name) { return !Control<QWidget>(name).isEnabled(); });
    return enabled.join(u' ');
}

QStringList ConsoleTest::Column(const char* grid, int column)
{
    QStringList texts;
    const auto& cells = Control<PropertyGrid>(grid);
    for (int row = 0; row < cells.rowCount(); ++row) texts << cells.CellText(row, column);
    return texts;
}

QStringList ConsoleTest::Log()
{
    static const QRegularExpression Number(u"^[0-9]+ : "_s);
    QStringList messages = modMain::GetMainWindow()->Log().Text().split(u"\r\n"_s);
    if (messages.constLast().isEmpty()) messages.removeLast();
    return messages.replaceInStrings(Number, QString());
}

QStringList ConsoleTest::TakeLog()
{
    const QStringList messages = Log();
    modMain::ClearTextBox(&modMain::GetMainWindow()->Log());
    return messages;
}

void ConsoleTest::OpenInBrowser(const QUrl& page, const std::function<void()>& orElse)
{
    if (m_HasBrowser) m_Browsed << QDir(GuideFolder()).relativeFilePath(page.toLocalFile());
    else orElse();
}

QMessageBox::StandardButton ConsoleTest::ShowBox(QMessageBox& box)
{
    m_Boxes << Describe(box);
    m_WhileAsking();
    return m_Answer;
}
