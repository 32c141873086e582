#include "velsqllib/WireValue.h"

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "velsqllib/WireText.h"

#include <capnp/any.h>
#include <capnp/schema.h>

namespace {

void CheckDepth(int depth)
{
    if (depth > MaxArrayDepth)
        throw ValueError(QStringLiteral("Arrays are nested deeper than %1 levels.").arg(MaxArrayDepth));
}

void WriteAt(const Variant& value, wire::Value::Builder builder, WireObjects& objects, int depth);

/// Writes one array; overloads by element type.
struct ArrayWriter
{
    wire::SafeArray::Builder Builder;
    WireObjects& Objects;
    int Depth;

    template <typename List, typename T>
    static void Fill(List list, const QList<T>& elements)
    {
        for (qsizetype i = 0; i < elements.size(); ++i) list.set(static_cast<uint>(i), elements[i]);
    }
    template <typename T>
    static capnp::Data::Reader Bytes(const QList<T>& elements)
    {
        return {reinterpret_cast<const kj::byte*>(elements.constData()), static_cast<std::size_t>(elements.size())};
    }
    template <typename T>
    static uint Size(const QList<T>& elements)
    {
        return static_cast<uint>(elements.size());
    }

    void operator()(const QList<bool>& e) { Fill(Builder.initBool(Size(e)), e); }
    void operator()(const QList<qint8>& e) { Builder.setI1(Bytes(e)); }
    void operator()(const QList<quint8>& e) { Builder.setUi1(Bytes(e)); }
    void operator()(const QList<qint16>& e) { Fill(Builder.initI2(Size(e)), e); }
    void operator()(const QList<quint16>& e) { Fill(Builder.initUi2(Size(e)), e); }
    void operator()(const QList<qint32>& e) { Fill(Builder.initI4(Size(e)), e); }
    void operator()(const QList<quint32>& e) { Fill(Builder.initUi4(Size(e)), e); }
    void operator()(const QList<float>& e) { Fill(Builder.initR4(Size(e)), e); }
    void operator()(const QList<double>& e) { Fill(Builder.initR8(Size(e)), e); }
    void operator()(const QList<Currency>& e)
    {
        auto list = Builder.initCy(Size(e));
        for (uint i = 0; i < list.size(); ++i) list.set(i, e[i].TenThousandths);
    }
    void operator()(const QList<Date>& e)
    {
        auto list = Builder.initDate(Size(e));
        for (uint i = 0; i < list.size(); ++i) list.set(i, e[i].Days);
    }
    void operator()(const QList<QString>& e)
    {
        auto list = Builder.initBstr(Size(e));
        for (uint i = 0; i < list.size(); ++i) list.set(i, WireBytes(e[i]));
    }
    void operator()(const QList<ObjectRef>& e)
    {
        auto list = Builder.initDispatch(Size(e));
        for (uint i = 0; i < list.size(); ++i) Objects.Write(e[i], list[i]);
    }
    void operator()(const QList<Variant>& e)
    {
        auto list = Builder.initVariant(Size(e));
        for (uint i = 0; i < list.size(); ++i) WriteAt(e[i], list[i], Objects, Depth + 1);
    }
};

/// Writes one value; overloads by payload type.
struct ValueWriter
{
    wire::Value::Builder Builder;
    WireObjects& Objects;
    int Depth;

    void operator()(std::monostate) { Builder.setEmpty(); }
    void operator()(Null) { Builder.setNull(); }
    void operator()(bool value) { Builder.setBool(value); }
    void operator()(qint8 value) { Builder.setI1(value); }
    void operator()(quint8 value) { Builder.setUi1(value); }
    void operator()(qint16 value) { Builder.setI2(value); }
    void operator()(quint16 value) { Builder.setUi2(value); }
    void operator()(qint32 value) { Builder.setI4(value); }
    void operator()(quint32 value) { Builder.setUi4(value); }
    void operator()(float value) { Builder.setR4(value); }
    void operator()(double value) { Builder.setR8(value); }
    void operator()(Currency value) { Builder.setCy(value.TenThousandths); }
    void operator()(Date value) { Builder.setDate(value.Days); }
    void operator()(const QString& value) { Builder.setBstr(WireBytes(value)); }
    void operator()(const ObjectRef& value) { Objects.Write(value, Builder.initDispatch()); }
    void operator()(const SafeArrayRef& value)
    {
        CheckDepth(Depth);
        auto array = Builder.initArray();
        array.setLowerBound(value->LowerBound());
        std::visit(ArrayWriter{array, Objects, Depth}, value->Data());
    }
};

void WriteAt(const Variant& value, wire::Value::Builder builder, WireObjects& objects, int depth)
{
    std::visit(ValueWriter{builder, objects, depth}, value.Data());
}

template <typename T>
QList<T> ReadBytes(capnp::Data::Reader bytes)
{
    const auto* first = reinterpret_cast<const T*>(bytes.begin());
    return QList<T>(first, first + bytes.size());
}

/// Elements shorter than those that our programs write would make a short message a long list in memory.
template <typename Struct>
typename capnp::List<Struct>::Reader CheckedStructs(typename capnp::List<Struct>::Reader list)
{
    if (list.size() == 0) return list;
    const capnp::AnyStruct::Reader first(list[0]);
    const auto whole = capnp::Schema::from<Struct>().getProto().getStruct();
    if (first.getDataSection().size() < sizeof(capnp::word) * whole.getDataWordCount() ||
        first.getPointerSection().size() < whole.getPointerCount())
        throw ValueError(QStringLiteral("An array claims more elements than it has."));
    return list;
}

/// Reads one value, and counts what it takes in memory: a bit on the wire may become a byte.
class ValueDecoder
{
public:
    explicit ValueDecoder(WireObjects& objects)
        : m_Objects(objects)
    {
    }
    Variant Read(wire::Value::Reader reader, int depth);

private:
    SafeArray::Elements ReadElements(wire::SafeArray::Reader array, int depth);
    template <typename T, typename List, typename Convert>
    QList<T> ReadList(List list, Convert convert)
    {
        m_Bytes += list.size() * sizeof(T);
        if (m_Bytes > MostValueBytes)
            throw ValueError(QStringLiteral("A value arrived that takes more than %1 MB.").arg(MostValueBytes >> 20));
        QList<T> elements;
        elements.reserve(static_cast<qsizetype>(list.size()));
        for (auto element : list) elements.append(convert(element));
        return elements;
    }
    template <typename T, typename List>
    QList<T> ReadList(List list)
    {
        return ReadList<T>(list, [](auto element) { return T{element}; });
    }

    WireObjects& m_Objects;
    quint64 m_Bytes = 0;
};

SafeArray::Elements ValueDecoder::ReadElements(wire::SafeArray::Reader array, int depth)
{
    using wire::SafeArray;
    switch (array.which()) {
    case SafeArray::BOOL: return ReadList<bool>(array.getBool());
    case SafeArray::I1: return ReadBytes<qint8>(array.getI1());
    case SafeArray::UI1: return ReadBytes<quint8>(array.getUi1());
    case SafeArray::I2: return ReadList<qint16>(array.getI2());
    case SafeArray::UI2: return ReadList<quint16>(array.getUi2());
    case SafeArray::I4: return ReadList<qint32>(array.getI4());
    case SafeArray::UI4: return ReadList<quint32>(array.getUi4());
    case SafeArray::R4: return ReadList<float>(array.getR4());
    case SafeArray::R8: return ReadList<double>(array.getR8());
    case SafeArray::CY: return ReadList<Currency>(array.getCy());
    case SafeArray::DATE: return ReadList<Date>(array.getDate());
    case SafeArray::BSTR: return ReadList<QString>(array.getBstr(), &FromWireText);
    case SafeArray::DISPATCH:
        return ReadList<ObjectRef>(CheckedStructs<wire::Object>(array.getDispatch()),
                                   [&](auto object) { return m_Objects.Read(object); });
    case SafeArray::VARIANT:
        return ReadList<Variant>(CheckedStructs<wire::Value>(array.getVariant()),
                                 [&](auto value) { return Read(value, depth + 1); });
    }
    throw ValueError(QStringLiteral("An array of an unknown type arrived."));
}

Variant ValueDecoder::Read(wire::Value::Reader reader, int depth)
{
    using wire::Value;
    switch (reader.which()) {
    case Value::EMPTY: return {};
    case Value::NULL_: return Null{};
    case Value::BOOL: return reader.getBool();
    case Value::I1: return reader.getI1();
    case Value::UI1: return reader.getUi1();
    case Value::I2: return reader.getI2();
    case Value::UI2: return reader.getUi2();
    case Value::I4: return reader.getI4();
    case Value::UI4: return reader.getUi4();
    case Value::R4: return reader.getR4();
    case Value::R8: return reader.getR8();
    case Value::CY: return Currency{reader.getCy()};
    case Value::DATE: return Date{reader.getDate()};
    case Value::BSTR: return FromWireText(reader.getBstr());
    case Value::DISPATCH: return m_Objects.Read(reader.getDispatch());
    case Value::ARRAY: {
        CheckDepth(depth);
        const auto array = reader.getArray();
        return SafeArray(ReadElements(array, depth), array.getLowerBound());
    }
    }
    throw ValueError(QStringLiteral("A value of an unknown type arrived."));
}

} // namespace

WireObjects::~WireObjects() = default;

void WriteValue(const Variant& value, wire::Value::Builder builder, WireObjects& objects)
{
    WriteAt(value, builder, objects, 1);
}

Variant ReadValue(wire::Value::Reader reader, WireObjects& objects)
{
    try {
        return ValueDecoder(objects).Read(reader, 1);
    } catch (const kj::Exception&) { // pointers to nowhere, lists that claim more than there is, endless repetition
        throw ValueError(QStringLiteral("A value arrived that cannot be read."));
    }
}
