// The name and the option of a Modbus variable, a line each, after a byte that picks the item's type; then registers.
// What is taken is written as it is read, and what is read can be written.
#include "server/plant/Convert.h"
#include "server/sources/modbus/ReadPlan.h"

#include <cstdlib>

namespace {

constexpr VarType Types[] = {VT_VARIANT,     VT_BOOL,        VT_I2,           VT_UI2,  VT_I4,   VT_UI4,
                             VT_R4,          VT_R8,          VT_CY,           VT_BSTR, VT_DATE, ArrayOf(VT_BOOL),
                             ArrayOf(VT_I4), ArrayOf(VT_R8), ArrayOf(VT_BSTR)};

void Require(bool isSo)
{
    if (!isSo) std::abort();
}

void ReadAndWrite(const Form& form, const QByteArray& bytes)
{
    std::vector<quint16> registers(static_cast<std::size_t>(form.Count));
    for (std::size_t i = 0; i < registers.size() && bytes.size() > 0; ++i) {
        const auto at = static_cast<qsizetype>(i) % bytes.size();
        registers[i] = IsBits(form.Place) ? bytes[at] & 1 : static_cast<quint16>(bytes[at] * 257 + at);
    }
    try {
        const Variant value = Decode(form, registers);
        const auto written = Encode(form, value);
        Require(form.Bit >= 0 ? written.size() == 1 : written.size() == registers.size());
    } catch (const ValueError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    if (size == 0) return 0;
    const QByteArray all(reinterpret_cast<const char*>(bytes) + 1, static_cast<qsizetype>(size) - 1);
    const QList<QByteArray> parts = all.split('\n');
    const int firstAddress = bytes[0] & 1;
    const VariableText text{QString::fromUtf8(parts[0]), QString::fromUtf8(parts.value(1)),
                            Types[(bytes[0] >> 1) % std::size(Types)]};
    try {
        const Form form = ParseForm(text, firstAddress, {});
        Require(form.Count >= 1 && form.First + form.Count <= 65'536 && form.Count % form.ElementSize() == 0);
        const Form again = ParseForm({PlaceText(form, firstAddress), text.Option, text.Type}, firstAddress, {});
        Require(again.Place == form.Place && again.First == form.First && (form.Bit >= 0 || again.Count == form.Count));
        ReadAndWrite(form, parts.value(2));
        const ReadPlan plan = PlanReading({&form, 1}, {}, {});
        Require(!plan.Blocks.empty());
    } catch (const VariableError&) {
    }
    return 0;
}
