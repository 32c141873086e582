#include "trend/files/RowFile.h"

#include "trend/core/TimeText.h"
#include "trend/files/UtcText.h"

#include <QStringBuilder>

namespace {

constexpr int Decimals = 3; ///< of seconds, where a time has no more
constexpr qsizetype MostInMemory = 100'000;

} // namespace

RowFile::RowFile(const QString& path, const QStringList& columns)
    : m_File(path)
    , m_Writer(MakeCsvWriter([](const Variant&) { return QString(); })) // a pen has no arrays
{
    m_Writer->WriteHead(m_Text, QStringList{QStringLiteral("Time"), QStringLiteral("UTC")} + columns);
}

void RowFile::Add(Micros time, const QList<Variant>& cells)
{
    m_Writer->WriteRow(m_Text, QList<Variant>{MomentText(time, Decimals), MomentToUtc(time)} + cells);
    if (m_Text.size() > MostInMemory) Flush();
}

void RowFile::Finish()
{
    m_Writer->WriteTail(m_Text);
    Flush();
    m_File.Finish();
}

void RowFile::Flush()
{
    m_File.Write(m_Text.toUtf8());
    m_Text.clear();
}

QString ColumnName(const PenSettings& pen)
{
    return pen.Unit.isEmpty() ? pen.Name() : QString(pen.Name() % u" [" % pen.Unit % u']');
}
