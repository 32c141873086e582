#pragma once

#include "server/sources/modbus/Pdu.h"

#include <list>
#include <map>
#include <memory>
#include <optional>

/// Variables of a unit that are read together, as a rule again and again.
struct ReadGroup
{
    std::vector<quint32> Numbers; ///< by which the unit's device knows them
    std::vector<Form> Forms;
    /// The line's: made when it is read first, and again when the unit is known to refuse something else.
    std::shared_ptr<const ReadPlan> Plan = {};
    quint64 PlannedFor = 0;
};
using ReadGroupRef = std::shared_ptr<ReadGroup>;

/// What has been read, to be brought to the loop.
struct ReadResults
{
    quint64 Job = 0;
    bool IsOver = false;
    VariableHolder::Time When;
    std::vector<std::pair<quint32, Variant>> Values; ///< by the numbers of the variables
    std::vector<std::pair<quint32, QString>> Failures;
};

/// One reading of a group, request by request. The line's lock guards it.
class ReadJob
{
public:
    /// A request of it. A half of a refused one knows where that was cut, and how the other half ends.
    struct Cut
    {
        Span Across; ///< the last register of one half to the first one of the other
        int Left = 2;
        bool IsRefused = false;
    };
    struct Request
    {
        std::shared_ptr<const ReadBlock> Block;
        std::shared_ptr<Cut> From = {};
    };

    ReadJob(quint64 number, ReadGroupRef group);

    /// Nothing is left to be asked; answers may still be on their way.
    bool IsAllAsked() const { return m_Next >= m_Plan->Blocks.size() && m_Halves.empty(); }
    bool IsOver() const { return IsAllAsked() && m_Asked == 0; }
    const ReadPlan& Plan() const { return *m_Plan; }

    Request Ask();
    /// The answer to a request. What is learnt from it: that a request across this span is refused.
    std::optional<Span> Take(const Request& request, std::span<const quint16> registers);
    /// The request was refused: asks for its halves, or answers what it was for when it has none.
    std::optional<Span> Refuse(const Request& request, const QString& why);
    void Fail(const Request& request, const QString& why);
    void FailVariable(quint32 variable, const QString& why);
    /// What has not been answered will not be.
    void FailRest(const QString& why);

    /// What has come since the last time; nothing comes any more once that said that it is over.
    ReadResults Collect();
    bool IsClosed() const { return m_IsClosed; }

private:
    void Decode(quint32 variable, std::span<const quint16> registers);
    void TakeElement(const Piece& piece, std::span<const quint16> registers);

    const ReadGroupRef m_Group;
    const std::shared_ptr<const ReadPlan> m_Plan; ///< the group may get another one meanwhile
    std::size_t m_Next = 0;
    std::list<Request> m_Halves;
    int m_Asked = 0;
    bool m_IsClosed = false;
    std::vector<bool> m_IsAnswered; ///< by variable
    /// Long arrays that come in several answers: what is there, and how much is lacking.
    struct Long
    {
        std::vector<quint16> Registers;
        qint32 Lacking;
    };
    std::map<quint32, Long> m_Longs;
    ReadResults m_Results;
};
