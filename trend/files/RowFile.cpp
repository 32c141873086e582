#include "trend/files/RowFile.h"

#include "trend/core/TimeText.h"
#include "trend/files/UtcText.h"

#include <QStringBuilder>

namespace {

constexpr qsizetype FewestDecimals = 3; ///< of seconds
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
    const Micros fraction = (time % MicrosASecond + MicrosASecond) % MicrosASecond;
    if (m_Second != time - fraction) NoteSecond(time - fraction);
    const QString micros = QStringLiteral("%1").arg(fraction, 6, 10, QLatin1Char('0'));
    const qsizetype decimals = fraction % 1000 == 0 ? FewestDecimals : micros.size();
    m_Writer->WriteRow(m_Text, QList<Variant>{QString(m_LocalSecond % u'.' % QStringView(micros).first(decimals)),
                                              QString(m_UtcSecond % u'.' % micros % u'Z')} +
                                   cells);
    if (m_Text.size() > MostInMemory) Flush();
}

void RowFile::NoteSecond(Micros second)
{
    m_Second = second;
    m_LocalSecond = MomentText(second);
    m_UtcSecond = MomentToUtc(second);
    m_UtcSecond.truncate(m_UtcSecond.indexOf(u'.'));
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
