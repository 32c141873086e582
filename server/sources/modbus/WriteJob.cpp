#include "server/sources/modbus/WriteJob.h"

#include <algorithm>

namespace {

using Asked = std::function<Pdu(const Pdu& request)>;

void WriteRegisters(const WriteJob& job, const Asked& ask)
{
    const Form& form = job.Where;
    const std::span<const quint16> all = job.Registers;
    const bool isBlock = form.Writing == WriteBy::Block || (form.Writing == WriteBy::Fitting && all.size() > 1);
    const auto most = isBlock ? static_cast<std::size_t>(MostWritten(form.Place)) : 1;
    for (std::size_t at = 0; at < all.size(); at += most) {
        const auto part = all.subspan(at, std::min(most, all.size() - at));
        const auto first = static_cast<quint16>(form.First + at);
        const Pdu request =
            isBlock ? WriteBlockRequest(form.Place, first, part) : WriteOneRequest(form.Place, first, part[0]);
        CheckWriteAnswer(request, ask(request));
    }
}

/// The other bits stay as they are. Nothing of ours comes in between; what others write meanwhile may be lost.
void WriteBit(const WriteJob& job, const Asked& ask)
{
    const Form& form = job.Where;
    const Span where{form.Place, form.First, 1};
    const quint16 before = ReadAnswer(where, ask(ReadRequest(where))).front();
    const quint16 mask = form.BitMask();
    const auto after = static_cast<quint16>(job.Registers.front() ? before | mask : before & ~mask);
    const Pdu request = WriteOneRequest(form.Place, form.First, after);
    CheckWriteAnswer(request, ask(request));
}

} // namespace

void WriteJob::Do(const Asked& ask) const
{
    Where.Bit >= 0 ? WriteBit(*this, ask) : WriteRegisters(*this, ask);
}
