#include "tests/support/FakeServer.h"

#include "core/modMain.h"
#include "velsqllib/TypedTextConverter.h"

#include <QStringBuilder>

using namespace Qt::StringLiterals;

namespace {

template <typename Row>
Row& Find(QList<Row>& rows, const QString& name, const QString& kind)
{
    for (Row& row : rows) {
        if (row.Name == name) return row;
    }
    throw ServerError(kind % u" not found: " % name);
}

} // namespace

FakeServer::FakeServer()
{
    Controller first{u"PLC1"_s};
    first.Items = {Item{u"D100"_s, Variant(qint32{25})}, Item{u"D200"_s, Variant(u"abc"_s)}};
    m_Controllers = {first, Controller{u"PLC2"_s}};
}

FakeServer::~FakeServer()
{
    modMain::Reset();
}

ValueConverterRef FakeServer::CreateValueConverter()
{
    return std::make_shared<TypedTextConverter>();
}

FakeServer::Controller& FakeServer::FindController(const QString& controller)
{
    return Find(m_Controllers, controller, u"Controller"_s);
}

FakeServer::Item& FakeServer::FindItem(const QString& controller, const QString& item)
{
    return Find(FindController(controller).Items, item, u"Item"_s);
}

void FakeServer::FailCall(int n, const QString& description)
{
    m_FailIn = n;
    m_FailDescription = description;
}

void FakeServer::FailOperation(const QString& operation, const QString& description)
{
    if (description.isNull()) m_FailingOperations.remove(operation);
    else m_FailingOperations.insert(operation, description);
}

void FakeServer::Record(const QString& call, const QString& operation)
{
    m_Calls << call;
    if (m_FailIn > 0 && --m_FailIn == 0) throw ServerError(m_FailDescription);
    if (const auto failing = m_FailingOperations.constFind(operation); failing != m_FailingOperations.cend())
        throw ServerError(*failing);
}

QStringList FakeServer::Subscriptions() const
{
    QStringList controllers;
    for (const Subscriber& subscriber : m_Subscribers) controllers << subscriber.first;
    return controllers;
}

void FakeServer::Fire(const QString& controller, const std::function<void(ControllerEvents&)>& deliver)
{
    const auto subscribers = m_Subscribers; // a subscriber may end any subscription
    for (const Subscriber& subscriber : subscribers) {
        if (subscriber.first == controller && m_Subscribers.contains(subscriber)) deliver(*subscriber.second);
    }
}

void FakeServer::FireState(const QString& controller, qint32 state)
{
    FindController(controller).State = state;
    Fire(controller, [state](ControllerEvents& events) { events.OnChangeState(state); });
}

void FakeServer::FireItem(const QString& controller, const QString& item)
{
    Fire(controller, [&](ControllerEvents& events) { events.OnChangeItem(MakeItem(controller, item)); });
}
