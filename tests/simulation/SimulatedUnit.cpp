#include "tests/simulation/SimulatedUnit.h"

#include <QtEndian>

namespace {

quint16 NumberAt(const QByteArray& bytes, qsizetype at)
{
    return qFromBigEndian<quint16>(bytes.constData() + at);
}

QByteArray Bytes(quint16 number)
{
    return {std::array<char, 2>{static_cast<char>(number >> 8), static_cast<char>(number)}.data(), 2};
}

} // namespace

/// Of what is no answer there are several kinds: too short, of another request, of another unit, to another question.
void SimulatedUnit::Serve(int socket)
{
    QByteArray head, request;
    while (Receive(socket, head, 7) && Receive(socket, request, NumberAt(head, 4) - 1)) {
        const Mood mood = Think(15, 600);
        if (mood == Mood::Silent) continue;
        QByteArray answer = Do(request);
        const int wrong = mood == Mood::Wrong ? Chance().Between(0, 4) : -1;
        if (mood == Mood::Failing) {
            static constexpr std::array<char, 4> exceptions = {2, 4, 6, 11};
            answer = {1, static_cast<char>(request[0] | 0x80)};
            answer.append(Chance().OneOf(exceptions));
        }
        if (wrong == 0) answer.chop(1);
        if (wrong == 1) head[0] = static_cast<char>(head[0] + 1);
        if (wrong == 2) head[6] = static_cast<char>(head[6] + 1);
        if (wrong == 3) answer[0] = 7;
        if (wrong == 4) head[2] = 1;
        const auto size = static_cast<quint16>(answer.size() + 1);
        Send(socket, head.first(4) + Bytes(size) + head.mid(6) + answer);
    }
}

QByteArray SimulatedUnit::Do(const QByteArray& request)
{
    const quint16 first = NumberAt(request, 1), second = NumberAt(request, 3);
    QByteArray answer = request.first(1);
    switch (request[0]) {
    case 3:
        answer.append(static_cast<char>(2 * second));
        for (quint16 i = first; i < first + second; ++i) answer.append(Bytes(m_Registers.at(i)));
        return answer;
    case 6: Set(first, second); break;
    case 16:
        for (quint16 i = 0; i < second; ++i) Set(first + i, NumberAt(request, 6 + 2 * i));
        break;
    default: break;
    }
    return request.first(5);
}

void SimulatedUnit::Set(int number, quint16 value)
{
    m_Registers.at(static_cast<std::size_t>(number)) = value;
    m_Had.emplace(number, value);
}
