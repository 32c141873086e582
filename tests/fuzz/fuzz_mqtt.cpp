// The topic and the option of an MQTT variable, a line each, after a byte that picks the item's type; then a message. A
// value that is read can be written, and reads the same again.
#include "core/automation/VariantCompare.h"
#include "server/sources/mqtt/MqttBinding.h"

#include <cstdlib>

namespace {

constexpr VarType Types[] = {VT_VARIANT, VT_BOOL, VT_I2,   VT_UI1,  VT_I4,          VT_UI4,          VT_R4,
                             VT_R8,      VT_CY,   VT_BSTR, VT_DATE, ArrayOf(VT_I4), ArrayOf(VT_BSTR)};

void ReadAndWrite(const MqttBinding& binding, const QByteArray& message)
{
    Variant value;
    try {
        value = Payload(message).Read(binding.Form);
    } catch (const ValueError&) {
        return;
    }
    QByteArray written;
    try {
        written = WritePayload(value, binding.Form);
    } catch (const ValueError&) {
        return; // not all that can be read can be written
    }
    if (!SameValue(Payload(written).Read(binding.Form), value)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    if (size == 0) return 0;
    const QByteArray all(reinterpret_cast<const char*>(bytes) + 1, static_cast<qsizetype>(size) - 1);
    const qsizetype first = all.indexOf('\n'), second = first < 0 ? -1 : all.indexOf('\n', first + 1);
    if (second < 0) return 0;
    const QByteArray option = all.mid(first + 1, second - first - 1), message = all.mid(second + 1);
    try {
        const MqttBinding binding = ReadMqttBinding(
            {QString::fromUtf8(all.left(first)), QString::fromUtf8(option), Types[bytes[0] % std::size(Types)]});
        Hears(binding.Filter, message);
        HeardBy(binding.Filter);
        if (!binding.SetTopic.isEmpty() && !IsTopicToPublish(binding.SetTopic)) std::abort();
        ReadAndWrite(binding, message);
    } catch (const VariableError&) {
    }
    return 0;
}
