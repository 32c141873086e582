#pragma once

#include "resulttext/CellText.h"

#include <QStringList>

#include <memory>

/// A format in which results leave the programs. Everything is appended to a text of the caller's, who takes it away
/// when it is large.
class RowWriter
{
public:
    RowWriter() = default;
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;
    virtual ~RowWriter() = default;

    /// Before the first row, once.
    virtual void WriteHead(QString& out, const QStringList& columns) = 0;
    /// As many cells as there are columns. Throws what CellText throws.
    virtual void WriteRow(QString& out, const QList<Variant>& cells) = 0;
    /// Behind the last row, once.
    virtual void WriteTail(QString&) {}
};

using RowWriterRef = std::unique_ptr<RowWriter>;

/// Cells between tabs, lines end with LF; cells with tabs or line ends in them, or with a quote at their beginning, stand
/// in quotes, as spreadsheets paste them. NULL and an empty text look the same. The head may be left out.
RowWriterRef MakeTabWriter(ArrayText arrayText);

/// RFC 4180: commas, CR LF, quotes only where they are needed. NULL is nothing at all, an empty text two quotes. The
/// head may be left out.
RowWriterRef MakeCsvWriter(ArrayText arrayText);

/// An array of objects, each on a line of its own; a name that came before gets "_2", "_3"... Numbers are JSON numbers
/// where a double holds all of their digits, else texts; so are infinities and NaN.
RowWriterRef MakeJsonWriter(ArrayText arrayText);
