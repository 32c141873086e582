// What operators type as a value. What is taken is written in one way, which reads as the very same value; and it
// becomes a value of any other type, or is refused.
#include "core/automation/Errors.h"
#include "core/automation/ItemChoices.h"
#include "server/plant/Convert.h"
#include "tests/fuzz/Fuzz.h"
#include "velsqllib/ValueText.h"

namespace {

void Convert(const Variant& value, VarType type)
{
    try {
        const Variant converted = ConvertTo(value, type);
        Require(type == VT_VARIANT || converted.Type() == type);
    } catch (const ValueError& error) {
        Require(!error.Description().isEmpty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    Variant value;
    try {
        value = ReadTypedText(TextOf(bytes, size));
    } catch (const ValueError& error) {
        Require(!error.Description().isEmpty());
        return 0;
    }
    const QString written = WriteTypedText(value);
    const Variant again = ReadTypedText(written);
    Require(again == value);
    Require(WriteTypedText(again) == written);
    if (!value.IsEmpty() && !value.IsNull()) Require(ReadValueText(value.Type(), WriteValueText(value)) == value);
    const VarType type = ChoosableTypes[size % ChoosableTypes.size()];
    Convert(value, size & 1 ? type : ArrayOf(type));
    return 0;
}
