#pragma once

#include "server/sources/Source.h"
#include "server/sources/SourceSettings.h"

/// A file of recorded values as a source: its one variable is called "value", and the option "once" says that it does
/// not repeat.
class ReplaySource : public Source
{
public:
    /// A file that is not read within the patience of Bind is read on; what is wrong in it the item says later.
    ReplaySource(QString name, QString path, std::chrono::milliseconds patience);
    /// Null when there are mistakes.
    static SourceRef Make(const QString& name, SourceSettings& settings);

    SourceVariableRef Bind(const VariableText& text) override;
    /// Its variables give their values at once and cannot be written, so nobody calls these.
    void Read(std::vector<SourceVariable*> variables, std::function<void()> done) override;
    void Write(SourceVariable& variable, const Variant& value, Written written) override;
    QString Describe() const override;

private:
    const QString m_Path;
    const std::chrono::milliseconds m_Patience;
};
