#pragma once

#include <QByteArray>

#include <string>
#include <vector>

/// Takes a CSV text in UTF-8 apart, row by row, as RFC 4180 has it: cells in double quotes may hold separators, line
/// breaks and, twice, quotes. Blanks around other cells do not belong to them. The separator is a semicolon when the
/// first line has one outside quotes, else a comma. Rows without any content are skipped.
class CsvReader
{
public:
    explicit CsvReader(QByteArray text);

    /// The next row; false behind the last one. Throws DescribedError for a row that is wrong; the one behind it comes
    /// next.
    bool Next(std::vector<std::string>& cells);
    /// Where the row begins that came last, from 1.
    int Line() const { return m_Line; }

private:
    bool IsAtEnd() const { return m_At >= m_Text.size(); }
    char Here() const { return m_Text[m_At]; }
    bool IsAtLineEnd() const { return IsAtEnd() || Here() == '\n' || Here() == '\r'; }
    bool IsAtCellEnd() const { return IsAtLineEnd() || Here() == m_Separator; }
    void Step();
    void SkipBlanks();
    void SkipLine();
    void ReadRow(std::vector<std::string>& cells);
    void ReadCell(std::string& cell);
    void ReadQuoted(std::string& cell);
    [[noreturn]] void Refuse(const QString& what);

    const QByteArray m_Text;
    qsizetype m_At = 0;
    char m_Separator = ',';
    int m_Line = 0;     ///< of the row
    int m_LineHere = 1; ///< of the place that is read
};
