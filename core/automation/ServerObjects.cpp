#include "core/automation/ServerObjects.h"

#include <array>

ServerObject::~ServerObject() = default;

EventSubscription::~EventSubscription() = default;

ResultPage::~ResultPage() = default;

ResultSet::~ResultSet() = default;

VelSQLLib::~VelSQLLib() = default;

QString StateName(qint32 state)
{
    static constexpr std::array<QStringView, 5> Names = {u"Uninitialized", u"Active", u"Deactive", u"Error",
                                                         u"Terminated"};
    const bool known = state >= 0 && state < static_cast<qint32>(Names.size());
    return known ? Names[static_cast<std::size_t>(state)].toString() : QStringLiteral("Unknown");
}
