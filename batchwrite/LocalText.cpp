#include "batchwrite/LocalText.h"

#include <QStringDecoder>

#include <cstring>
#include <iconv.h>
#include <langinfo.h>

namespace {

/// Null when the bytes are no text in this encoding.
QString DecodeAs(const char* encoding, QByteArrayView bytes)
{
    const iconv_t converter = iconv_open("UTF-16LE", encoding);
    if (converter == reinterpret_cast<iconv_t>(-1)) return {};
    QByteArray utf16(4 * bytes.size(), Qt::Uninitialized);
    char* from = const_cast<char*>(bytes.data());
    char* to = utf16.data();
    auto left = static_cast<size_t>(bytes.size());
    auto room = static_cast<size_t>(utf16.size());
    const bool fits = iconv(converter, &from, &left, &to, &room) != static_cast<size_t>(-1);
    iconv_close(converter);
    utf16.chop(static_cast<qsizetype>(room));
    return fits ? QString(QStringDecoder(QStringDecoder::Utf16LE)(utf16)) : QString();
}

QString DecodeLocal(QByteArrayView bytes)
{
    const char* encoding = nl_langinfo(CODESET);
    const bool isNarrow = std::strcmp(encoding, "UTF-8") != 0 && std::strcmp(encoding, "ANSI_X3.4-1968") != 0;
    return isNarrow ? DecodeAs(encoding, bytes) : QString();
}

} // namespace

QString DecodeText(QByteArrayView bytes)
{
    // A byte order mark within the file is a character like any other.
    QStringDecoder utf8(QStringDecoder::Utf8,
                        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text = utf8(bytes);
    if (!utf8.hasError()) return text;
    text = DecodeLocal(bytes);
    return text.isNull() ? QString::fromLatin1(bytes) : text;
}
