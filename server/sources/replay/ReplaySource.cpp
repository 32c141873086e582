#include "server/sources/replay/ReplaySource.h"

#include "server/sources/replay/ReplayVariable.h"

#include <QDir>

ReplaySource::ReplaySource(QString name, QString path, std::chrono::milliseconds patience)
    : Source(std::move(name))
    , m_Path(std::move(path))
    , m_Patience(patience)
{
}

SourceRef ReplaySource::Make(const QString& name, SourceSettings& settings)
{
    const QString file = settings.Name("file");
    if (file.isEmpty()) return nullptr;
    // While a plant file is read nobody is waiting yet.
    return std::make_shared<ReplaySource>(name, QDir(settings.Folder()).absoluteFilePath(file), std::chrono::hours(1));
}

SourceVariableRef ReplaySource::Bind(const VariableText& text)
{
    using enum VariableError::Part;
    if (text.Name != QStringLiteral("value"))
        throw VariableError(Name, QStringLiteral("a recording has the variable \"value\", not \"%1\"").arg(text.Name));
    const bool isOnce = text.Option == QStringLiteral("once");
    if (!isOnce && !text.Option.isEmpty())
        throw VariableError(Option, QStringLiteral("a recording has the option \"once\", not \"%1\"").arg(text.Option));
    if (!text.Unit.isEmpty()) throw VariableError(Unit, QStringLiteral("a recording has no units"));
    try {
        auto variable = std::make_unique<ReplayVariable>(m_Path, text.Type, !isOnce);
        variable->Await(m_Patience);
        return variable;
    } catch (const DescribedError& error) {
        throw VariableError(Name, error.Description());
    }
}

void ReplaySource::Read(std::vector<SourceVariable*>, std::function<void()> done)
{
    done();
}

void ReplaySource::Write(SourceVariable&, const Variant&, Written)
{
    throw DescribedError(QStringLiteral("a recording cannot be written"));
}

QString ReplaySource::Describe() const
{
    return QStringLiteral("%1: replay of %2").arg(Name(), m_Path);
}
