// The name of an item in a plant file, perhaps with a range, and behind a line end another text of the entry, perhaps
// with calculations. Each number of the range gives a name of its own.
#include "core/automation/Errors.h"
#include "server/plantfile/RangeText.h"
#include "tests/fuzz/Fuzz.h"

namespace {

void Fill(const QString& text, const RangeNumber& number)
{
    try {
        const QString filled = FillIn(text, number);
        const bool isPlain = !text.contains(u'{') && !text.contains(u'}');
        Require(!isPlain || filled == text);
        if (const auto only = OnlyNumber(text, number))
            Require(filled == QString::number(*only) || filled.toLongLong() == *only);
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    const QString all = TextOf(bytes, size);
    const QString text = all.section(u'\n', 1);
    try {
        const NameRange range = ParseName(all.section(u'\n', 0, 0));
        if (!range.First) return 0;
        Require(*range.First >= 0 && range.Last >= *range.First && range.Last - *range.First < MostItems);
        const RangeNumber first{*range.First, range.Digits}, last{range.Last, range.Digits};
        Require((range.NameOf(first) == range.NameOf(last)) == (first.Value == last.Value));
        for (const RangeNumber& number : {first, last}) Fill(text, number);
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
    }
    return 0;
}
