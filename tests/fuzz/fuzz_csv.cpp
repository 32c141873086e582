// A CSV file, as files of tags are. Its rows written in quotes read the same, row by row.
#include "core/automation/Errors.h"
#include "server/plantfile/CsvReader.h"
#include "tests/fuzz/Fuzz.h"

namespace {

using Cells = std::vector<std::string>;

std::string InQuotes(const Cells& row)
{
    std::string text;
    for (const std::string& cell : row) {
        text += text.empty() ? "\"" : ";\"";
        for (const char character : cell) text += character == '"' ? std::string("\"\"") : std::string(1, character);
        text += '"';
    }
    return text;
}

void ReadAgain(const Cells& row)
{
    const std::string text = InQuotes(row) + "\n\n" + InQuotes(row);
    CsvReader reader(QByteArray::fromStdString(text));
    Cells again;
    for (int i = 0; i < 2; ++i) Require(reader.Next(again) && again == row);
    Require(!reader.Next(again));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    const QByteArray text = BytesOf(bytes, size);
    CsvReader reader(text);
    Cells row;
    for (int line = 0, rows = 0; rows <= text.size(); ++rows) {
        try {
            if (!reader.Next(row)) return 0;
            // Of a single cell nobody knows what separates it.
            if (row.size() > 1) ReadAgain(row);
        } catch (const DescribedError& error) {
            Require(!error.Description().isEmpty());
        }
        Require(reader.Line() > line && reader.Line() <= text.size() + 1);
        line = reader.Line();
    }
    std::abort(); // more rows than bytes
}
