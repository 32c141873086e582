#include "scripttool/velsqlscript/Options.h"

#include "commandline/CommandLine.h"

#include <QRegularExpression>

namespace {

const QString s_Description = QStringLiteral(
    "Runs an ECMAScript against the objects of the VelSQL server, or one SQL statement on its history. A server that "
    "is "
    "running is used, else one is started.\n"
    "Lines whose first character is \"'\" are comments. The manual, scripting.md, tells what scripts find.\n"
    "\n"
    "Exit codes: 0 done, 1 the script or statement failed, 2 wrong command line or unusable file, 3 no server "
    "available;\n"
    "a script may end with any code by exit(code). Errors are written as TITLE:LINE: message.");

constexpr int LeastMemory = 64;
constexpr int MostMemory = 1024 * 1024;

void DefineOptions(QCommandLineParser& parser)
{
    parser.addOptions({
        {QStringLiteral("name"),
         QStringLiteral("Scripts know the engine as <name>; may be given several times. Default: Vlx."),
         QStringLiteral("name")},
        {QStringLiteral("title"), QStringLiteral("The script's name in messages. Default: the file's name."),
         QStringLiteral("text")},
        {QStringLiteral("memory"), QStringLiteral("The script may use <MiB> of memory. Default: 1024."),
         QStringLiteral("MiB")},
        {QStringLiteral("attach"), QStringLiteral("Use a server that is running; start none.")},
        {QStringLiteral("mark-errors"),
         QStringLiteral("Write errors to standard output, each between the bytes FE and FF.")},
        {QStringLiteral("query"),
         QStringLiteral("Run one statement on the history; print its rows, with tabs between the cells."),
         QStringLiteral("SQL")},
        {QStringLiteral("csv"), QStringLiteral("Write the rows of --query to <FILE> as CSV; \"-\" is standard output."),
         QStringLiteral("FILE")},
        {QStringLiteral("json"), QStringLiteral("The same as JSON, an array of objects."), QStringLiteral("FILE")},
    });
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The script, UTF-8; \"-\" is standard input."));
}

QStringList Names(const QCommandLineParser& parser)
{
    static const QRegularExpression Identifier(QStringLiteral("^[\\p{L}_$][\\p{L}\\p{N}_$]*$"));
    const QStringList names = parser.values(QStringLiteral("name"));
    for (const QString& name : names) {
        if (!Identifier.match(name).hasMatch())
            throw DescribedError(QStringLiteral("--name takes a name that a script can use, not \"%1\".").arg(name));
    }
    return names.isEmpty() ? QStringList(QStringLiteral("Vlx")) : names;
}

int Memory(const QCommandLineParser& parser)
{
    if (!parser.isSet(QStringLiteral("memory"))) return ScriptOptions().MemoryMegabytes;
    bool isNumber = false;
    const int megabytes = parser.value(QStringLiteral("memory")).toInt(&isNumber);
    if (!isNumber || megabytes < LeastMemory || megabytes > MostMemory)
        throw DescribedError(QStringLiteral("--memory takes a number of MiB from %1 to %2, not \"%3\".")
                                 .arg(QString::number(LeastMemory), QString::number(MostMemory),
                                      parser.value(QStringLiteral("memory"))));
    return megabytes;
}

/// On one line, because messages begin with it.
QString Title(const QCommandLineParser& parser, const QString& file)
{
    QString title = parser.value(QStringLiteral("title"));
    if (title.isEmpty()) title = file == QStringLiteral("-") ? QStringLiteral("stdin") : file;
    for (QChar& c : title) {
        if (c < u' ') c = u' ';
    }
    return title;
}

/// Of these options the first one that is given; empty when none is.
QString FirstSet(const QCommandLineParser& parser, const QStringList& names)
{
    for (const QString& name : names) {
        if (parser.isSet(name)) return QStringLiteral("--") + name;
    }
    return {};
}

void RefuseWithQuery(const QCommandLineParser& parser)
{
    const QString ofScripts = FirstSet(parser, {QStringLiteral("name"), QStringLiteral("title"),
                                                QStringLiteral("memory"), QStringLiteral("mark-errors")});
    if (!ofScripts.isEmpty())
        throw DescribedError(QStringLiteral("%1 is for scripts, not for --query.").arg(ofScripts));
    if (!parser.positionalArguments().isEmpty())
        throw DescribedError(QStringLiteral("--query takes one statement, in quotes; \"%1\" does not belong to it.")
                                 .arg(parser.positionalArguments().first()));
    if (parser.isSet(QStringLiteral("csv")) && parser.isSet(QStringLiteral("json")))
        throw DescribedError(QStringLiteral("The rows are written as --csv or as --json, not as both."));
    for (const QString& name : {QStringLiteral("query"), QStringLiteral("csv"), QStringLiteral("json")}) {
        if (parser.values(name).size() > 1)
            throw DescribedError(
                QStringLiteral("--%1 is given once, not %2 times.").arg(name).arg(parser.values(name).size()));
    }
}

std::optional<QueryOptions> Query(const QCommandLineParser& parser)
{
    if (!parser.isSet(QStringLiteral("query"))) {
        const QString ofQueries = FirstSet(parser, {QStringLiteral("csv"), QStringLiteral("json")});
        if (!ofQueries.isEmpty()) throw DescribedError(QStringLiteral("%1 goes with --query.").arg(ofQueries));
        return std::nullopt;
    }
    RefuseWithQuery(parser);
    QueryOptions query{.Statement = parser.value(QStringLiteral("query"))};
    if (parser.isSet(QStringLiteral("csv")))
        query.As = QueryOptions::Format::Csv, query.File = parser.value(QStringLiteral("csv"));
    if (parser.isSet(QStringLiteral("json")))
        query.As = QueryOptions::Format::Json, query.File = parser.value(QStringLiteral("json"));
    return query;
}

} // namespace

ScriptOptions ReadOptions(const QStringList& arguments)
{
    CommandLine parser(QStringLiteral("velsqlscript"), s_Description);
    DefineOptions(parser);
    ScriptOptions options;
    options.Answer = parser.Read(arguments, CommandLine::Files::Named);
    if (!options.Answer.isEmpty()) return options;
    options.AttachOnly = parser.isSet(QStringLiteral("attach"));
    options.Query = Query(parser);
    if (options.Query) return options;
    if (parser.positionalArguments().size() != 1)
        throw DescribedError(QStringLiteral("One FILE is needed, or \"-\"; --help tells more."));
    options.File = parser.positionalArguments().first();
    options.Title = Title(parser, options.File);
    options.Names = Names(parser);
    options.MemoryMegabytes = Memory(parser);
    options.MarksErrors = parser.isSet(QStringLiteral("mark-errors"));
    return options;
}
