// A file of the batch write window. Each line comes with its text and nothing is lost: valid UTF-8 is there character
// by character, and each byte of other lines.
#include "batchwrite/LineReader.h"
#include "tests/fuzz/Fuzz.h"

#include <QStringDecoder>

namespace {

/// What a line must be, by the words of LineReader.
void Compare(const QString& line, QByteArray bytes, bool isFirst)
{
    if (bytes.endsWith('\r')) bytes.chop(1);
    if (isFirst && bytes.startsWith("\xEF\xBB\xBF")) bytes = bytes.mid(3);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = utf8(bytes);                       // which sees an error
    if (utf8.hasError()) Require(line.size() == bytes.size()); // Latin-1
    else Require(line.toUtf8() == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    static const InputFile file;
    const QByteArray all = BytesOf(bytes, size);
    file.Set(all);
    QList<QByteArray> expected = all.split('\n');
    if (expected.last().isEmpty()) expected.removeLast();
    LineReader lines(file.Path());
    qsizetype count = 0;
    while (const auto line = lines.Next()) {
        Require(count < expected.size());
        Compare(*line, expected[count], count == 0);
        Require(!lines.FaultOf(*line, QStringLiteral("is one")).Description().contains(u'\n'));
        ++count;
    }
    Require(count == expected.size());
    return 0;
}
