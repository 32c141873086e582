#include "scripttool/velsqlscript/ScriptRun.h"

#include "scripttool/velsqlscript/CommentLines.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace {

/// The script's name inside the engine; a title may contain characters that also separate the parts of a stack frame.
const QString s_Internal = QStringLiteral("script");
constexpr qsizetype MostFrames = 10;

struct Frame
{
    QString Function;
    QString Line;
};

/// The script's own frames, innermost first, from texts like "function:12:-1:file:script".
QList<Frame> FramesOf(const QStringList& stack)
{
    static const QRegularExpression Text(QStringLiteral("^(.*):(\\d+):-?\\d+:file:%1$").arg(s_Internal),
                                         QRegularExpression::DotMatchesEverythingOption);
    QList<Frame> frames;
    for (const QString& text : stack) {
        const auto match = Text.match(text);
        if (match.hasMatch()) frames.append({match.captured(1), match.captured(2)});
    }
    return frames;
}

/// Deliberate errors speak for themselves; the language's own errors need their kind, such as "ReferenceError".
QString MessageOf(const QJSValue& thrown)
{
    // When the function to be called cannot be read, the engine wraps the reason in an error of its own.
    static const QRegularExpression Wrapped(QStringLiteral("^TypeError: Property '.*' of object (TypeError: .* has no "
                                                           "member .*) is not a function$"));
    const QString name = thrown.property(QStringLiteral("name")).toString();
    const bool speaksForItself = name == QStringLiteral("ServerError") || name == QStringLiteral("ValueError") ||
                                 name == QStringLiteral("Error");
    if (thrown.isError() && speaksForItself) return thrown.property(QStringLiteral("message")).toString();
    const QString text = thrown.toString();
    const auto wrapped = Wrapped.match(text);
    return wrapped.hasMatch() ? wrapped.captured(1) : text;
}

QString Report(const QJSValue& thrown, const QStringList& stack, const QString& title)
{
    const QList<Frame> frames = FramesOf(stack);
    const QString line = frames.isEmpty() ? QString() : frames.first().Line + u':';
    QString report = QStringLiteral("%1:%2 %3").arg(title, line, MessageOf(thrown));
    if (frames.size() < 2) return report;
    for (const Frame& frame : frames.first(qMin(frames.size(), MostFrames))) {
        const bool isTop = frame.Function == QStringLiteral("%entry");
        report += QStringLiteral("\n    in line %1").arg(frame.Line);
        if (!isTop && !frame.Function.isEmpty()) report += QStringLiteral(", %1").arg(frame.Function);
    }
    if (frames.size() > MostFrames) report += QStringLiteral("\n    ...");
    return report;
}

} // namespace

ScriptRun::ScriptRun(const EngineRef& engine, const QStringList& names, std::function<void()> checkServer)
    : m_Bridge(m_Engine, std::move(checkServer))
{
    m_Bridge.RunPrelude();
    for (const QString& name : names) m_Bridge.AddObject(name, engine);
}

std::optional<QString> ScriptRun::Run(const QString& script, const QString& title)
{
    QStringList stack;
    const QJSValue result = m_Engine.evaluate(WithoutCommentLines(script), s_Internal, 1, &stack);
    if (!stack.isEmpty()) return Report(result, stack, title);
    QCoreApplication::sendPostedEvents(); // promises that are still to be resolved
    return std::nullopt;
}
