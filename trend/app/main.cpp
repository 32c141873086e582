#include "commandline/CommandLine.h"
#include "commandline/QtOptions.h"
#include "core/ConsoleStyle.h"
#include "core/DesktopColours.h"
#include "trend/app/ReportOptions.h"
#include "trend/core/ReadMoment.h"
#include "trend/files/ViewFile.h"
#include "trend/window/frmTrend.h"

#include <QApplication>
#include <QDateTime>

#include <cstdio>

namespace {

const QString s_Description = QStringLiteral(
    "Shows values of the VelSQL server over time: the past from its history, the present as it changes. A server that "
    "is running is used, else the bundled one is started.\n"
    "Items are named as the console's tree does, such as \"PLC1\\Level\"; more can be dragged there.\n"
    "It also takes Qt's own options, such as -platform and -style, and keeps no settings.");

/// What the command line asks for.
struct TrendOptions
{
    QStringList Items;
    QString View;              ///< a file that keeps one
    std::optional<Span> Shown; ///< nothing: the last hour, following the present
    std::optional<Micros> Length;
    std::optional<ReportOrder> Report; ///< is written, and no window is opened
    QString Answer;                    ///< to --help or --version: is printed, and nothing else is done
};

Micros ReadTime(const CommandLine& line, const QString& option, Micros now)
{
    const auto time = ReadMoment(line.value(option), now, now);
    if (time) return *time;
    throw UsageError(
        QStringLiteral("--%1 takes a time such as \"2026-01-31 12:30\", 12:30, now or \"-2 h\", not \"%2\".")
            .arg(option, line.value(option)));
}

void ReadSpan(const CommandLine& line, TrendOptions& options)
{
    const QString from = QStringLiteral("from"), to = QStringLiteral("to");
    const Micros now = QDateTime::currentMSecsSinceEpoch() * 1000;
    if (line.isSet(to) && !line.isSet(from)) throw UsageError(QStringLiteral("--to goes with --from."));
    if (!line.isSet(from)) return;
    const Span span{ReadTime(line, from, now), line.isSet(to) ? ReadTime(line, to, now) : now};
    if (span.Length() <= 0) throw UsageError(QStringLiteral("--to must lie behind --from."));
    if (span.To == now) options.Length = span.Length();
    else options.Shown = span;
}

TrendOptions ReadOptions(CommandLine& line, const QStringList& arguments)
{
    line.addOptions({{QStringLiteral("from"),
                      QStringLiteral("Show the time from <time> on, such as \"2026-01-31 12:30\", 12:30 or \"-2 h\"."),
                      QStringLiteral("time")},
                     {QStringLiteral("to"), QStringLiteral("Until then. Default: now, and on with the present."),
                      QStringLiteral("time")}});
    AddReportOptions(line);
    line.addPositionalArgument(QStringLiteral("ITEM"),
                               QStringLiteral("Items to show, such as \"PLC1\\Level\", or a view that was saved, "
                                              "whose name ends in .velsqltrend."),
                               QStringLiteral("[ITEM...]"));
    TrendOptions options;
    options.Answer = line.Read(arguments, CommandLine::Files::Named);
    for (const QString& argument : line.positionalArguments())
        argument.endsWith(ViewFile::Suffix) ? void(options.View = argument) : options.Items.append(argument);
    ReadSpan(line, options);
    options.Report = ReadReportOptions(line);
    for (const QString& item : options.Items) {
        if (!PenOf(item)) throw UsageError(QStringLiteral("\"%1\" is not an item such as PLC1\\Level.").arg(item));
    }
    return options;
}

/// Throws DescribedError for a view that cannot be read.
int Show(const TrendOptions& options)
{
    auto* const window = new frmTrend([] { return std::make_unique<RemoteLibrary>(); });
    if (!options.View.isEmpty()) window->OpenFile(options.View);
    window->AddItems(options.Items);
    window->ShowSpan(options.Shown, options.Length);
    window->show();
    return QApplication::exec();
}

/// Throws DescribedError for a view that cannot be read.
SavedView ViewOf(const TrendOptions& options)
{
    SavedView view;
    const Micros now = QDateTime::currentMSecsSinceEpoch() * 1000;
    view.Of.Shown = {now - options.Length.value_or(3600 * MicrosASecond), now};
    if (!options.View.isEmpty()) view = ViewFile::Read(options.View);
    view.Of.IsFollowing = options.Length || (!options.Shown && view.Of.IsFollowing);
    if (options.Length) view.Of.Shown = {now - *options.Length, now};
    if (options.Shown) view.Of.Shown = *options.Shown;
    for (const QString& item : options.Items) {
        PenSettings pen = PenOf(item).value();
        pen.Colour = PenColours[view.Pens.size() % PenColours.size()];
        view.Pens.push_back(pen);
    }
    return view;
}

/// Throws DescribedError.
int WriteReport(const TrendOptions& options)
{
    Report report([] { return std::make_unique<RemoteLibrary>(); }, *options.Report, ViewOf(options));
    const Report::Result result = report.Run();
    for (const QString& trouble : report.Troubles()) std::fprintf(stderr, "velsqltrend: %s\n", qPrintable(trouble));
    return result;
}

int SayError(const std::function<int()>& action)
{
    try {
        return action();
    } catch (...) {
        std::fprintf(stderr, "velsqltrend: %s\n", qPrintable(CurrentErrorDescription()));
        return EXIT_FAILURE;
    }
}

[[noreturn]] void End(int code)
{
    std::fflush(nullptr);
    std::_Exit(code); // a thread that waits for a silent server must not be waited for
}

} // namespace

int main(int argc, char** argv)
{
    TrendOptions options;
    {
        std::vector<char*> own(argv, argv + argc + 1); // Qt may remove some
        const QCoreApplication application(argc, own.data());
        CommandLine line(QStringLiteral("velsqltrend"), s_Description);
        try {
            options = ReadOptions(line, WithoutQtOptions(QCoreApplication::arguments()));
        } catch (const UsageError& error) {
            return line.Refuse(error);
        }
    }
    if (!options.Answer.isEmpty()) return std::puts(qPrintable(options.Answer)) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
    if (options.Report) {
        qputenv("QT_QPA_PLATFORM", "offscreen"); // reports are written where there is no display
        const QGuiApplication application(argc, argv);
        End(SayError([&] { return WriteReport(options); }));
    }
    QApplication application(argc, argv);
    QApplication::setStyle(new ConsoleStyle);
    QApplication::setApplicationName(QStringLiteral("velsqltrend"));
    QApplication::setApplicationVersion(QStringLiteral(VELSQL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("velsqltrend"));
    DesktopColours::FollowSession(&application);
    End(SayError([&] { return Show(options); }));
}
