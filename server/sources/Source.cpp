#include "server/sources/Source.h"

SourceVariable::~SourceVariable() = default;

std::optional<Variant> SourceVariable::AtOnce(double, VarType)
{
    return std::nullopt;
}

void SourceVariable::Answer(const Variant& value, VariableHolder::Time time)
{
    NoteAnswer();
    if (m_Holder) m_Holder->TakeRead(value, time);
}

bool SourceVariable::Arrive(const Variant& value, VariableHolder::Time time)
{
    return m_Holder && m_Holder->TakeArrived(value, time);
}

bool SourceVariable::Lose(const QString& why, VariableHolder::Time time)
{
    return m_Holder && m_Holder->NoteLost(why, time);
}

void SourceVariable::Fail(const QString& why, VariableHolder::Time time)
{
    NoteAnswer();
    if (m_Holder) m_Holder->NoteFailure(why, time);
}

Source::Source(QString name)
    : m_Name(std::move(name))
{
}

Source::~Source() = default;

void Source::Start(Loop&) {}

void Source::NoteUsers() {}

std::optional<Source::Load> Source::LoadOf(const std::vector<SourceVariable*>&) const
{
    return std::nullopt;
}

void Source::AddUser(SourceUser& user)
{
    m_Users.push_back(&user);
    if (m_Users.size() == 1) NoteUsers();
}

void Source::RemoveUser(SourceUser& user)
{
    if (std::erase(m_Users, &user) > 0 && m_Users.empty()) NoteUsers();
}

void Source::SetReachable(bool isReachable)
{
    if (std::exchange(m_IsReachable, isReachable) == isReachable) return;
    const auto users = m_Users; // some may go when they are told
    for (SourceUser* user : users) {
        if (std::ranges::find(m_Users, user) != m_Users.end()) user->NoteReachable(isReachable);
    }
}
