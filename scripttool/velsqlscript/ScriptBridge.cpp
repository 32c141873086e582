#include "scripttool/velsqlscript/ScriptBridge.h"

#include "core/automation/Errors.h"
#include "scripttool/velsqlscript/Members.h"
#include "scripttool/velsqlscript/Output.h"
#include "scripttool/velsqlscript/ResultRows.h"
#include "scripttool/velsqlscript/TypedValues.h"
#include "velsqllib/ValueText.h"

#include <QFile>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

ScriptHandle FromJs(const QJSValue& handle)
{
    return handle.toVariant().value<ScriptHandle>();
}

ControllerRef ControllerOf(const QJSValue& handle)
{
    return std::dynamic_pointer_cast<VelSQLController>(FromJs(handle).Value.Get<ObjectRef>());
}

EventHandlers::Kind EventNamed(const QString& name)
{
    return name == QStringLiteral("OnChangeState") ? EventHandlers::Kind::ChangeState : EventHandlers::Kind::ChangeItem;
}

ObjectKind KindNamed(const QString& name)
{
    for (const ObjectKind kind : {ObjectKind::Engine, ObjectKind::Controller, ObjectKind::Item, ObjectKind::History,
                                  ObjectKind::ResultSet, ObjectKind::TypedValue}) {
        if (KindName(kind) == name) return kind;
    }
    return ObjectKind::Unknown;
}

int Milliseconds(const QString& function, double number)
{
    if (!(number >= 0 && number <= std::numeric_limits<int>::max()))
        throw ValueError(QStringLiteral("%1 takes milliseconds from 0 to 2147483647").arg(function));
    return static_cast<int>(number);
}

} // namespace

ScriptBridge::ScriptBridge(QJSEngine& engine, std::function<void()> checkServer)
    : m_Engine(engine)
    , m_Values(engine, m_Prelude)
    , m_Handlers(m_Values, m_Prelude, [this, checkServer = std::move(checkServer)] {
        ReleaseResults();
        checkServer();
    })
{
    m_Released.start();
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

void ScriptBridge::RunPrelude()
{
    QFile file(QStringLiteral(":/velsqlscript/prelude.js"));
    if (!file.open(QFile::ReadOnly)) qFatal("the prelude is missing");
    const QJSValue prelude = m_Engine.evaluate(QString::fromUtf8(file.readAll()), QStringLiteral("prelude"));
    const QJSValue functions = prelude.call({m_Engine.newQObject(this), m_Engine.globalObject()});
    if (!functions.isObject() || functions.isError()) qFatal("prelude.js: %s", qPrintable(functions.toString()));
    const auto function = [&](const char* name) { return functions.property(QString::fromLatin1(name)); };
    m_Prelude = {function("wrap"), function("unwrap"), function("invoke"), function("makeError")};
}

void ScriptBridge::AddObject(const QString& name, const ObjectRef& object)
{
    m_Engine.globalObject().setProperty(name, m_Values.ToScript(object));
}

/// An exception from an action becomes a script exception, thrown when control returns to the script.
template <typename Action>
auto ScriptBridge::Guarded(Action action) -> decltype(action())
{
    try {
        return action();
    } catch (const ServerError& error) {
        Throw(QStringLiteral("ServerError"), error.Description());
    } catch (const ValueError& error) {
        Throw(QStringLiteral("ValueError"), error.Description());
    } catch (const std::bad_alloc&) {
        throw; // the process ends: see ProcessLimits
    } catch (...) {
        Throw(QStringLiteral("Error"), CurrentErrorDescription());
    }
    return decltype(action())();
}

void ScriptBridge::Throw(const QString& errorName, const QString& message)
{
    m_Engine.throwError(m_Prelude.MakeError.call({errorName, message}));
}

QJSValue ScriptBridge::Members(const QString& kindName)
{
    const auto& members = MembersOf(KindNamed(kindName));
    QJSValue list = m_Engine.newArray(static_cast<uint>(members.size()));
    quint32 index = 0;
    for (const Member& member : members) {
        QJSValue entry = m_Engine.newObject();
        entry.setProperty(QStringLiteral("name"), member.Name);
        entry.setProperty(QStringLiteral("isProperty"), member.IsProperty);
        entry.setProperty(QStringLiteral("isWritable"), static_cast<bool>(member.Put));
        list.setProperty(index++, entry);
    }
    return list;
}

QStringList ScriptBridge::TypeNames() const
{
    return MakeableTypes();
}

QJSValue ScriptBridge::Read(const QJSValue& handle, const QString& member, const QJSValue& arguments, bool exact)
{
    return Guarded([&] {
        ReleaseManyResults();
        const Variant value = ReadMember(FromJs(handle), member, m_Values.ListFromScript(arguments));
        return exact ? WrapTyped(value) : m_Values.ToScript(value);
    });
}

void ScriptBridge::Write(const QJSValue& handle, const QString& member, const QJSValue& value)
{
    Guarded([&] { WriteMember(FromJs(handle), member, m_Values.FromScript(value)); });
}

QJSValue ScriptBridge::Handler(const QJSValue& handle, const QString& event)
{
    return Guarded([&] { return m_Handlers.Handler(ControllerOf(handle), EventNamed(event)); });
}

void ScriptBridge::SetHandler(const QJSValue& handle, const QString& event, const QJSValue& handler)
{
    Guarded([&] { m_Handlers.SetHandler(ControllerOf(handle), EventNamed(event), handler); });
}

bool ScriptBridge::HasRow(const QJSValue& handle, double row)
{
    return Guarded([&] {
        auto result = std::dynamic_pointer_cast<ResultRows>(FromJs(handle).Value.Get<ObjectRef>());
        return result->HasRow(static_cast<qint64>(row));
    });
}

QJSValue ScriptBridge::Make(const QString& type, const QJSValue& plain)
{
    return Guarded([&] { return WrapTyped(MakeTyped(TypeNamed(type), m_Values.FromScript(plain))); });
}

QJSValue ScriptBridge::MakeArrayOf(const QString& type, const QJSValue& elements, const QJSValue& lowerBound)
{
    return Guarded([&] {
        const qint32 bound = lowerBound.isUndefined() ? 0 : ToInt32(m_Values.FromScript(lowerBound));
        return WrapTyped(MakeArray(TypeNamed(type), m_Values.ListFromScript(elements), bound));
    });
}

QJSValue ScriptBridge::FromText(const QString& typedText)
{
    return Guarded([&] { return WrapTyped(ReadTypedText(typedText)); });
}

QJSValue ScriptBridge::Exact(const QJSValue& plain)
{
    return Guarded([&] { return WrapTyped(m_Values.FromScript(plain)); });
}

QJSValue ScriptBridge::WrapTyped(const Variant& value)
{
    return m_Values.Wrap({ObjectKind::TypedValue, value});
}

void ScriptBridge::Print(const QString& line, bool isError)
{
    WriteLine(isError ? Stream::Error : Stream::Output, line);
}

void ScriptBridge::Sleep(double milliseconds)
{
    Guarded([&] { Wait(Milliseconds(QStringLiteral("sleep"), milliseconds), false); });
}

int ScriptBridge::WaitForEvents(const QJSValue& milliseconds)
{
    return Guarded([&] {
        if (m_Handlers.IsHandling())
            throw ValueError(QStringLiteral("waitForEvents inside an event handler would wait for ever"));
        if (milliseconds.isUndefined() && !m_Handlers.AreThereAny())
            throw ValueError(QStringLiteral("waitForEvents without a time and without handlers would wait for ever"));
        if (milliseconds.isUndefined()) return Wait(std::nullopt, true);
        return Wait(Milliseconds(QStringLiteral("waitForEvents"), milliseconds.toNumber()), true);
    });
}

int ScriptBridge::Wait(std::optional<int> milliseconds, bool untilHandled)
{
    ReleaseResults();
    const EventHandlers::Outcome outcome = m_Handlers.Wait(milliseconds, untilHandled);
    if (outcome.Thrown) m_Engine.throwError(*outcome.Thrown);
    return outcome.Handled;
}

/// Releases results at the server that the script can no longer reach, but not so often that it costs much time.
void ScriptBridge::ReleaseResults()
{
    constexpr qint64 atMostEveryMs = 100;
    constexpr qint64 share = 20;
    if (ResultRows::Count() == 0 || m_Released.elapsed() < std::max(atMostEveryMs, share * m_ReleaseMs)) return;
    m_Released.start();
    m_Engine.collectGarbage();
    m_ReleaseMs = m_Released.restart();
}

/// For scripts that run without a pause. A script that keeps its results does not cause a collection with each
/// statement.
void ScriptBridge::ReleaseManyResults()
{
    if (ResultRows::Count() < m_ManyResults) return;
    m_Engine.collectGarbage();
    m_ManyResults = std::max(FewResults, 2 * ResultRows::Count());
}

void ScriptBridge::Exit(double code)
{
    Guarded([&] {
        if (!(code >= 0 && code <= 255 && std::trunc(code) == code))
            throw ValueError(QStringLiteral("exit takes a whole number from 0 to 255"));
        // Nothing waits to be written, and the script goes no further.
        std::_Exit(static_cast<int>(code));
    });
}
