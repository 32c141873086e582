#include "server/sources/modbus/ReadJob.h"

ReadJob::ReadJob(quint64 number, ReadGroupRef group)
    : m_Group(std::move(group))
    , m_Plan(m_Group->Plan)
    , m_IsAnswered(m_Group->Numbers.size())
{
    m_Results.Job = number;
    m_Results.Values.reserve(m_Group->Numbers.size());
}

ReadJob::Request ReadJob::Ask()
{
    ++m_Asked;
    if (m_Halves.empty()) return {{m_Plan, &m_Plan->Blocks[m_Next++]}};
    Request half = std::move(m_Halves.front());
    m_Halves.pop_front();
    return half;
}

std::optional<Span> ReadJob::Take(const Request& request, std::span<const quint16> registers)
{
    --m_Asked;
    for (const Piece& piece : request.Block->Pieces) {
        const auto first = static_cast<std::size_t>(piece.Where.First - request.Block->Where.First);
        TakeElement(piece, registers.subspan(first, static_cast<std::size_t>(piece.Where.Count)));
    }
    const bool isLearnt = request.From && --request.From->Left == 0 && !request.From->IsRefused;
    return isLearnt ? std::optional(request.From->Across) : std::nullopt;
}

std::optional<Span> ReadJob::Refuse(const Request& request, const QString& why)
{
    if (request.From) request.From->IsRefused = true;
    auto halves = Halved(*request.Block);
    if (halves.empty()) {
        Fail(request, why);
        return request.Block->Where;
    }
    --m_Asked;
    const Span& low = halves[0].Where;
    const Span& high = halves[1].Where;
    Span across{low.Place, low.End() - 1, high.First - low.End() + 2};
    if (across.Count < 2) across = request.Block->Where; // they overlap
    const auto cut = std::make_shared<Cut>(Cut{across});
    for (ReadBlock& half : halves) m_Halves.push_back({std::make_shared<ReadBlock>(std::move(half)), cut});
    return std::nullopt;
}

void ReadJob::Fail(const Request& request, const QString& why)
{
    --m_Asked;
    if (request.From) request.From->IsRefused = true;
    for (const Piece& piece : request.Block->Pieces) FailVariable(piece.Variable, why);
}

void ReadJob::FailVariable(quint32 variable, const QString& why)
{
    if (m_IsAnswered[variable]) return;
    m_IsAnswered[variable] = true;
    m_Results.Failures.emplace_back(m_Group->Numbers[variable], why);
}

void ReadJob::FailRest(const QString& why)
{
    m_Next = m_Plan->Blocks.size();
    m_Halves.clear();
    for (quint32 variable = 0; variable < m_IsAnswered.size(); ++variable) FailVariable(variable, why);
}

void ReadJob::TakeElement(const Piece& piece, std::span<const quint16> registers)
{
    const Form& form = m_Group->Forms[piece.Variable];
    if (piece.Where.Count == form.Count) return Decode(piece.Variable, registers);
    auto [entry, isNew] = m_Longs.try_emplace(piece.Variable);
    Long& all = entry->second;
    if (isNew) all = {std::vector<quint16>(static_cast<std::size_t>(form.Count)), form.Count};
    std::ranges::copy(registers, all.Registers.begin() + (piece.Where.First - form.First));
    all.Lacking -= piece.Where.Count;
    if (all.Lacking == 0) Decode(piece.Variable, all.Registers);
}

void ReadJob::Decode(quint32 variable, std::span<const quint16> registers)
{
    if (m_IsAnswered[variable]) return;
    try {
        m_Results.Values.emplace_back(m_Group->Numbers[variable], ::Decode(m_Group->Forms[variable], registers));
        m_IsAnswered[variable] = true;
    } catch (const DescribedError& error) {
        FailVariable(variable, error.Description());
    }
}

ReadResults ReadJob::Collect()
{
    ReadResults results = std::exchange(m_Results, {});
    m_Results.Job = results.Job;
    if (!IsOver()) m_Results.Values.reserve(results.Values.size()); // as much will come again
    results.IsOver = m_IsClosed = IsOver();
    results.When = std::chrono::system_clock::now();
    return results;
}
