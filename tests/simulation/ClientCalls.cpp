#include "core/automation/SafeArray.h"
#include "tests/server/Outcome.h"
#include "tests/simulation/SimulatedClient.h"

// What a client calls, and what the answer has to be.

namespace {

QString Shown(const Variant& value)
{
    return OutcomeOf([&] { return WriteTypedText(value).left(60); });
}

} // namespace

void SimulatedClient::Get(const QString& controller, const QString& item)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        Send(QStringLiteral("get_Value ") + item, found.getValueRequest(), Expected::Anything,
             [this](const auto& response) { return Shown(ReadValue(response.getResult(), m_Objects)); });
        Send(QStringLiteral("get_State ") + item, found.getStateRequest());
        Send(QStringLiteral("get_DateTime ") + item, found.getDateTimeRequest());
    });
}

void SimulatedClient::Put(const QString& controller, const QString& item, const Variant& value)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        auto request = found.putValueRequest();
        Set(request.initValue(), value);
        Send(QStringLiteral("put_Value ") + item + u' ' + Shown(value), request, Expected::Anything,
             [=, this](const auto&) {
                 if (controller == QStringLiteral("Unit")) m_Server.Sources().CheckHad(item, value);
                 return QString();
             });
    });
}

void SimulatedClient::PutLater(const QString& controller, const QString& item, const Variant& value, qint32 delay)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        auto request = found.putValueExRequest();
        request.setDelay(delay);
        Set(request.initValue(), value);
        Send(QStringLiteral("PutValueEx %1 %2").arg(item).arg(delay), request, Expected::Anything,
             [=, this](const auto&) {
                 if (controller == QStringLiteral("Unit")) m_Server.Sources().NoteDelayed(item, value);
                 return QString();
             });
    });
}

void SimulatedClient::PutActivation(const QString& controller, const QString& item, bool isActive)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        auto request = found.putActivationRequest();
        request.setValue(isActive);
        Send(QStringLiteral("put_Activation %1 %2").arg(item).arg(isActive), request);
    });
}

void SimulatedClient::ReadItem(const QString& controller, const QString& item)
{
    With(controller, item, [=, this](wire::Item::Client& found) {
        m_Server.Sources().Device().NoteAsked();
        Send(QStringLiteral("Snapshot ") + item, found.snapshotRequest());
    });
}

void SimulatedClient::ReadController(const QString& controller)
{
    m_Server.Sources().Device().NoteAsked();
    Send(QStringLiteral("Snapshot ") + controller, Controller(controller).snapshotRequest());
}

void SimulatedClient::GetKnown()
{
    if (m_Items.empty()) return;
    auto request = m_Library.callInTurnRequest();
    const auto count = static_cast<uint>(m_Items.size());
    auto objects = request.initObjects(count);
    auto calls = request.initCalls(count);
    uint at = 0;
    for (auto& [path, item] : m_Items) {
        objects[at].setItem(item);
        calls[at].setObject(static_cast<quint16>(at));
        calls[at++].setMethod(0); // get_Value
    }
    Send(QStringLiteral("get_Value of %1").arg(count), request, Expected::Success, [=, this](const auto& response) {
        const auto outcomes = response.getOutcomes();
        m_Trace.Require(outcomes.size() == count && !outcomes[0].isUnanswered(),
                        QStringLiteral("a list of calls was not begun"));
        uint answered = 0;
        while (answered < outcomes.size() && !outcomes[answered].isUnanswered()) ++answered;
        return QString::number(answered);
    });
}

void SimulatedClient::SwitchController(const QString& controller, bool isOn)
{
    const QString what = (isOn ? QStringLiteral("Start ") : QStringLiteral("Stop ")) + controller;
    if (isOn) Send(what, Controller(controller).startRequest(), Expected::Success);
    else Send(what, Controller(controller).stopRequest(), Expected::Success);
}

void SimulatedClient::Execute(const QString& command)
{
    auto request = m_Engine.executeRequest();
    request.setCommand(WireBytes(command));
    Send(QStringLiteral("Execute ") + command, request);
}

void SimulatedClient::AskHistory(const QString& statement)
{
    auto request = m_Engine.getHistoryRequest().send().getResult().executeRequest();
    request.setStatement(WireBytes(statement));
    Send(QStringLiteral("history ") + statement, request, Expected::Anything, [this](const auto& response) {
        auto& result = m_Results.emplace_back(response.getResult());
        Send(QStringLiteral("progress"), result.progressRequest(), Expected::Success,
             [](const auto& progress) { return QString::number(progress.getRowsSoFar()); });
        Send(QStringLiteral("page"), result.pageOfRequest());
        return QString();
    });
}

void SimulatedClient::AddItem(const QString& name, const QString& origin)
{
    auto definition = UntouchedDefinition();
    definition[0] = name;
    const bool isOfUnit = origin.startsWith(QStringLiteral("holding:"));
    if (isOfUnit || origin.startsWith(QStringLiteral("plant/"))) {
        definition[2] = origin;
        definition[4] = Variant(qint16{3}); // of a device that it names
        definition[5] = isOfUnit ? QStringLiteral("unit") : QStringLiteral("broker");
    } else {
        definition[8] = origin;
    }
    auto request = Controller(QStringLiteral("Added")).addItemRequest();
    Set(request.initDefinition(), SafeArray(definition));
    m_Book.Maybe.insert(name);
    const auto expected = origin.isEmpty() ? Expected::Success : Expected::Anything;
    Send(QStringLiteral("AddItem ") + name + u' ' + origin, request, expected, [this, name](const auto&) {
        m_Book.Maybe.remove(name);
        m_Book.Added.insert(name);
        Get(QStringLiteral("Added"), name);
        return QString();
    });
}

void SimulatedClient::RemoveItem(const QString& name)
{
    m_Book.Added.remove(name);
    m_Book.Maybe.insert(name);
    auto request = Controller(QStringLiteral("Added")).removeItemRequest();
    request.setName(WireBytes(name));
    Send(QStringLiteral("RemoveItem ") + name, request, Expected::Success, [this, name](const auto&) {
        m_Book.Maybe.remove(name);
        return QString();
    });
}

void SimulatedClient::PutOwn(int item, const Variant& value)
{
    With(QStringLiteral("Own"), OwnName(item), [=, this](wire::Item::Client& found) {
        auto request = found.putValueRequest();
        Set(request.initValue(), value);
        m_Own[static_cast<std::size_t>(item)] = value;
        Send(QStringLiteral("put_Value ") + OwnName(item) + u' ' + Shown(value), request, Expected::Success,
             [=, this](const auto&) {
                 const bool isRecorded = item == SimulatedServer::OwnItems - 1;
                 if (const qint32* number = value.GetIf<qint32>(); number && isRecorded)
                     m_Book.Confirmed[OwnName(item)].append(*number);
                 return QString();
             });
    });
}

void SimulatedClient::GetOwn(int item)
{
    With(QStringLiteral("Own"), OwnName(item), [=, this](wire::Item::Client& found) {
        const Variant written = m_Own[static_cast<std::size_t>(item)];
        Send(QStringLiteral("get_Value ") + OwnName(item), found.getValueRequest(), Expected::Success,
             [=, this](const auto& response) {
                 const Variant read = ReadValue(response.getResult(), m_Objects);
                 m_Trace.Require(written.IsEmpty() || read == written,
                                 QStringLiteral("%1 was written to %2, and %3 read")
                                     .arg(Shown(written), OwnName(item), Shown(read)));
                 return Shown(read);
             });
    });
}
