#pragma once

#include "core/automation/Variant.h"
#include "resulttext/RowWriter.h"
#include "trend/core/Pen.h"
#include "trend/files/FileOutput.h"

/// A table of values over time on its way into a CSV file (RFC 4180, UTF-8): the time as clocks here show it and in UTC,
/// then the columns. All functions throw DescribedError.
class RowFile
{
public:
    RowFile(const QString& path, const QStringList& columns);

    /// A cell for each column.
    void Add(Micros time, const QList<Variant>& cells);
    /// Until then the file is not there, or is what it was before.
    void Finish();

private:
    void NoteSecond(Micros second);
    void Flush();

    FileOutput m_File;
    RowWriterRef m_Writer;
    QString m_Text;
    std::optional<Micros> m_Second; ///< of the last row, and how it begins: reckoning takes longer than writing
    QString m_LocalSecond;
    QString m_UtcSecond;
};

/// What stands above a pen's column: "PLC1\Level [m]".
QString ColumnName(const PenSettings& pen);
