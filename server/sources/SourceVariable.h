#pragma once

#include "core/automation/Errors.h"
#include "core/automation/Variant.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>

class Source;

/// So many bytes the processor fetches from memory together.
inline constexpr std::size_t CacheLine = 64;

/// How a plant file or an operator names a variable.
struct VariableText
{
    QString Name;
    QString Option;
    VarType Type;      ///< of the item that is bound to it; VT_VARIANT takes what the source finds natural
    QString Unit = {}; ///< which unit of the source, when it is not the usual one
};

/// A variable that cannot be bound, and which part of its text is to blame.
class VariableError : public DescribedError
{
public:
    enum class Part
    {
        Name,
        Option,
        Unit
    };
    VariableError(Part part, const QString& description)
        : DescribedError(description)
        , m_Part(part)
    {
    }
    Part Which() const { return m_Part; }

private:
    Part m_Part;
};

/// Who holds a variable, as a rule an item. It is told on the server's loop.
class VariableHolder
{
public:
    using Time = std::chrono::system_clock::time_point;

    /// The answer to a reading.
    virtual void TakeRead(const Variant& value, Time time) = 0;
    /// A value that has come by itself. Returns whether it was taken: not while the holder is switched off.
    virtual bool TakeArrived(const Variant& value, Time time) = 0;
    /// Until further notice no value comes by itself. Returns whether it was noted, as TakeArrived does.
    virtual bool NoteLost(const QString& why, Time time) = 0;
    /// It could not be read, or a value that came is none. `why` continues "Item ...: ".
    virtual void NoteFailure(const QString& why, Time time) = 0;

protected:
    ~VariableHolder() = default;
};

/// One variable of a source, bound for one item until it is destroyed.
class SourceVariable
{
public:
    SourceVariable() = default;
    SourceVariable(const SourceVariable&) = delete;
    SourceVariable& operator=(const SourceVariable&) = delete;
    virtual ~SourceVariable();

    /// The value at a scan, `seconds` after the server began, when nothing must be waited for. `type` is the item's, or
    /// that of its elements for the signal of an element.
    virtual std::optional<Variant> AtOnce(double seconds, VarType type);
    /// Whether scans have to ask for it. They need not while values come by themselves.
    virtual bool IsDue() const { return true; }
    /// The source that reads and writes it; null when there is only AtOnce.
    virtual Source* Owner() const { return nullptr; }

    /// A variable has one holder for all its life; before, it tells nobody.
    void SetHolder(VariableHolder& holder) { m_Holder = &holder; }
    /// For its source: to tell the holder.
    void Answer(const Variant& value, VariableHolder::Time time);
    bool Arrive(const Variant& value, VariableHolder::Time time);
    bool Lose(const QString& why, VariableHolder::Time time);
    void Fail(const QString& why, VariableHolder::Time time);
    /// Holders lie anywhere in memory: the processor fetches the beginning of one that is told soon.
    void PrefetchHolder() const
    {
        const auto* bytes = reinterpret_cast<const char*>(m_Holder);
        for (std::size_t line = 0; line < 3; ++line) __builtin_prefetch(bytes + line * CacheLine);
    }

private:
    friend class SourceRound;

    void NoteAnswer() { m_Asked = std::max(m_Asked - 1, 0); }

    VariableHolder* m_Holder = nullptr;
    /// Readings whose answers are still on their way; meanwhile scans leave it out.
    int m_Asked = 0;
};

using SourceVariableRef = std::unique_ptr<SourceVariable>;
