#include "velsqllib/WireText.h"

#include <QtEndian>

static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "texts are copied to the wire as they stand in memory");

QString FromWireText(capnp::Data::Reader text)
{
    QString result(static_cast<qsizetype>(text.size() / sizeof(QChar)), Qt::Uninitialized);
    if (!result.isEmpty()) memcpy(result.data(), text.begin(), static_cast<std::size_t>(result.size()) * sizeof(QChar));
    return result;
}

QStringView ViewOfWireText(capnp::Data::Reader text)
{
    return {reinterpret_cast<const char16_t*>(text.begin()), static_cast<qsizetype>(text.size() / sizeof(char16_t))};
}

capnp::Data::Reader WireBytes(const QString& text)
{
    return {reinterpret_cast<const kj::byte*>(text.utf16()), static_cast<std::size_t>(text.size()) * sizeof(QChar)};
}

kj::Exception ToException(const QString& description)
{
    const QByteArray text = description.toUtf8();
    return {kj::Exception::Type::FAILED, __FILE__, __LINE__,
            kj::heapString(text.constData(), static_cast<std::size_t>(text.size()))};
}

QString DescriptionOf(const kj::Exception& failure)
{
    return QString::fromUtf8(failure.getDescription().cStr());
}
