#pragma once

#include "core/automation/Variant.h"

#include <QJsonValue>
#include <QStringList>

#include <optional>

/// How the bytes of a message are the value of an item.
struct PayloadForm
{
    VarType Type = VT_VARIANT; ///< of the item
    /// Where the value stands in a JSON document, name by name; none: the message is the value itself.
    std::optional<QStringList> Pointer = {};
    /// What stands for True and False; empty: true, on, yes and 1, and their opposites.
    QString TrueWord = {};
    QString FalseWord = {};
};

/// "/data/temp" as its names, where "~1" is a slash and "~0" a tilde; none when it is no JSON pointer.
std::optional<QStringList> ParsePointer(const QString& text);

/// The bytes of one message. However many items look into it, it is parsed once.
class Payload
{
public:
    /// Larger messages are not values.
    static constexpr qint64 MostBytes = 16 * 1024 * 1024;

    explicit Payload(const QByteArray& bytes)
        : Payload(bytes, bytes.size())
    {
    }
    /// `size` says how large a message was of which only a part is here.
    Payload(const QByteArray& bytes, qint64 size)
        : m_Bytes(bytes)
        , m_Size(size)
    {
    }

    /// The value in that form. Throws ValueError when there is none.
    Variant Read(const PayloadForm& form);

private:
    struct Document
    {
        QJsonValue Root;
        QString Failure;
    };

    const QJsonValue& Json();
    const QString& Text();
    Variant ReadPlain(const PayloadForm& form);

    const QByteArray& m_Bytes;
    const qint64 m_Size;
    std::optional<QString> m_Text;
    std::optional<Document> m_Document;
};

/// The message that Read reads as this value. Throws ValueError when there is none.
QByteArray WritePayload(const Variant& value, const PayloadForm& form);
