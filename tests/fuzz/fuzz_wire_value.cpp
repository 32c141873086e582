// A message with a value, as it comes over the wire, arbitrarily wrong, read as a value and as a page of a result. What
// is read is sent on unchanged; it has a typed text that reads the same, or none; and as JSON it is JSON.
#include "core/automation/Errors.h"
#include "core/automation/ServerObjects.h"
#include "resulttext/JsonText.h"
#include "tests/fuzz/Fuzz.h"
#include "velsqllib/ValueText.h"
#include "velsqllib/WireLimits.h"
#include "velsqllib/WirePage.h"
#include "velsqllib/WireText.h"

#include <QJsonDocument>

namespace {

/// Knows no objects but one.
class OneObject : public WireObjects
{
public:
    void Write(const ObjectRef& object, wire::Object::Builder builder) override
    {
        if (object) builder.setItemName(WireBytes(m_Name));
    }
    ObjectRef Read(wire::Object::Reader reader) override
    {
        return reader.isNone() && !reader.hasItemName() ? nullptr : m_Object;
    }

private:
    const QString m_Name = QStringLiteral("D100");
    const ObjectRef m_Object = std::make_shared<ServerObject>();
};

void SendOn(const Variant& value, WireObjects& objects)
{
    capnp::MallocMessageBuilder message;
    WriteValue(value, message.initRoot<wire::Value>(), objects);
    const auto sent = capnp::messageToFlatArray(message);
    capnp::FlatArrayMessageReader received(sent, WireReaderOptions(sent.size()));
    Require(ReadValue(received.getRoot<wire::Value>(), objects) == value);
}

void Spell(const Variant& value)
{
    QString text;
    try {
        text = WriteTypedText(value);
    } catch (const ValueError&) { // objects and dates outside the calendar
    }
    if (!text.isEmpty()) Require(ReadTypedText(text) == value);
    try {
        QString json(u'[');
        AppendNestedJson(json, value);
        QJsonParseError error;
        QJsonDocument::fromJson((json + u']').toUtf8(), &error);
        Require(error.error == QJsonParseError::NoError);
    } catch (const ValueError&) {
    }
}

void ReadAsValue(kj::ArrayPtr<const capnp::word> words)
{
    OneObject objects;
    try {
        capnp::FlatArrayMessageReader message(words, WireReaderOptions(words.size()));
        const Variant value = ReadValue(message.getRoot<wire::Value>(), objects);
        SendOn(value, objects);
        Spell(value);
    } catch (const kj::Exception&) { // the message is none; ReadValue itself throws ValueError
    } catch (const ValueError& error) {
        Require(!error.Description().isEmpty());
    }
}

/// All of its cells, though only so many rows: it may claim rows that take no room.
void ReadAsPage(kj::ArrayPtr<const capnp::word> words)
{
    constexpr qint32 enough = 100;
    try {
        const WirePage page(words.asBytes());
        Require(page.RowCount() > 0 && page.Holds(page.FirstRow()) && !page.Holds(page.FirstRow() + page.RowCount()));
        for (qint32 row = 0; row < std::min(page.RowCount(), enough); ++row) page.Cell(row, 0);
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    auto words = kj::heapArray<capnp::word>(size / sizeof(capnp::word));
    memcpy(words.begin(), bytes, words.asBytes().size());
    ReadAsValue(words);
    ReadAsPage(words);
    return 0;
}
