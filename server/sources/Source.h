#pragma once

#include "server/sources/SourceVariable.h"

#include <QStringList>

#include <functional>
#include <vector>

/// The server's event loop, as sources that work on threads of their own see it.
class Loop
{
public:
    /// Runs `action` on the loop, soon. May be called from any thread.
    virtual void Post(std::function<void()> action) = 0;

protected:
    ~Loop() = default;
};

/// Wants a source to work, and is told on the loop when that cannot be reached, or can be again.
class SourceUser
{
public:
    virtual void NoteReachable(bool isReachable) = 0;

protected:
    ~SourceUser() = default;
};

/// Where values come from and go to besides clients: a device, a broker, a recording. All of its methods are called on
/// the server's loop and never wait for anything.
class Source
{
public:
    /// Called once: an empty text when it was written, else why not.
    using Written = std::function<void(const QString& failure)>;

    explicit Source(QString name);
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    virtual ~Source();

    /// As the plant file names it.
    const QString& Name() const { return m_Name; }

    /// From now on it may connect; before, it only binds variables. The loop outlives it.
    virtual void Start(Loop& loop);
    /// Throws VariableError for a text that is none of its variables.
    virtual SourceVariableRef Bind(const VariableText& text) = 0;
    /// Reads all variables; the holder of each is told, and `done` is called when none is left. Variables may be given
    /// up meanwhile. Values may also come without being asked for.
    virtual void Read(std::vector<SourceVariable*> variables, std::function<void()> done) = 0;
    /// Throws DescribedError when a value cannot be written at all; otherwise the answer comes later.
    virtual void Write(SourceVariable& variable, const Variant& value, Written written) = 0;

    /// Whether it can be reached, as far as is known; the last attempt says so.
    bool IsReachable() const { return m_IsReachable; }
    /// The line that it uses, and how many requests reading these variables once takes; none when that means nothing.
    struct Load
    {
        QString Line;
        qsizetype Requests;
    };
    virtual std::optional<Load> LoadOf(const std::vector<SourceVariable*>& variables) const;
    /// What it is, how it stands and why, in one line for people.
    virtual QString Describe() const = 0;

    /// While it has users it keeps itself reachable; without any it asks nothing.
    void AddUser(SourceUser& user);
    void RemoveUser(SourceUser& user);

protected:
    bool HasUsers() const { return !m_Users.empty(); }
    void SetReachable(bool isReachable);
    /// The first user has come, or the last one has gone.
    virtual void NoteUsers();

private:
    const QString m_Name;
    bool m_IsReachable = true;
    std::vector<SourceUser*> m_Users;
};

using SourceRef = std::shared_ptr<Source>;
