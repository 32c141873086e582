#include "server/plantfile/CsvReader.h"

#include "core/automation/Errors.h"

#include <QUtf8StringView>

namespace {

constexpr std::size_t MostCells = 1000;

char SeparatorOf(const QByteArray& text)
{
    bool isQuoted = false;
    for (const char character : text) {
        if (character == '"') isQuoted = !isQuoted;
        else if (isQuoted) continue;
        else if (character == ';') return ';';
        else if (character == '\n' || character == '\r') break;
    }
    return ',';
}

bool IsBlank(char character)
{
    return character == ' ' || character == '\t';
}

} // namespace

CsvReader::CsvReader(QByteArray text)
    : m_Text(std::move(text))
    , m_At(m_Text.startsWith("\xEF\xBB\xBF") ? 3 : 0)
    , m_Separator(SeparatorOf(m_Text))
{
}

bool CsvReader::Next(std::vector<std::string>& cells)
{
    const auto isEmpty = [](const std::string& cell) { return cell.empty(); };
    while (!IsAtEnd()) {
        m_Line = m_LineHere;
        ReadRow(cells);
        if (!std::all_of(cells.begin(), cells.end(), isEmpty)) return true;
    }
    return false;
}

/// One character on; CR LF, CR and LF each end one line.
void CsvReader::Step()
{
    const bool isLineEnd = IsAtLineEnd();
    if (isLineEnd && Here() == '\r' && m_Text.size() > m_At + 1 && m_Text[m_At + 1] == '\n') ++m_At;
    ++m_At;
    if (isLineEnd) ++m_LineHere;
}

void CsvReader::SkipBlanks()
{
    while (!IsAtEnd() && IsBlank(Here())) ++m_At;
}

void CsvReader::SkipLine()
{
    while (!IsAtLineEnd()) ++m_At;
    if (!IsAtEnd()) Step();
}

void CsvReader::ReadRow(std::vector<std::string>& cells)
{
    std::size_t count = 0;
    for (bool isLast = false; !isLast; ++count) {
        if (count == MostCells) Refuse(QStringLiteral("a row has at most %1 cells").arg(MostCells));
        if (count == cells.size()) cells.emplace_back();
        ReadCell(cells[count]);
        isLast = IsAtLineEnd();
        if (!isLast) ++m_At; // the separator
    }
    cells.resize(count);
    if (!IsAtEnd()) Step();
}

void CsvReader::ReadCell(std::string& cell)
{
    cell.clear();
    SkipBlanks();
    if (!IsAtEnd() && Here() == '"') {
        ReadQuoted(cell);
    } else {
        const qsizetype begin = m_At;
        while (!IsAtCellEnd()) ++m_At;
        qsizetype end = m_At;
        while (end > begin && IsBlank(m_Text[end - 1])) --end;
        cell.assign(m_Text.constData() + begin, static_cast<std::size_t>(end - begin));
    }
    if (!QUtf8StringView(cell.data(), static_cast<qsizetype>(cell.size())).isValidUtf8())
        Refuse(QStringLiteral("this is not UTF-8; spreadsheets save it as \"CSV UTF-8\""));
}

void CsvReader::ReadQuoted(std::string& cell)
{
    for (++m_At;; Step()) {
        if (IsAtEnd()) Refuse(QStringLiteral("a quote that is opened in this row is not closed"));
        if (Here() == '"') {
            ++m_At;
            if (IsAtEnd() || Here() != '"') break;
        }
        cell += Here() == '\r' ? '\n' : Here(); // however lines end in the file
    }
    SkipBlanks();
    if (!IsAtCellEnd()) Refuse(QStringLiteral("behind a closed quote only a separator may stand"));
}

void CsvReader::Refuse(const QString& what)
{
    SkipLine();
    throw DescribedError(what);
}
