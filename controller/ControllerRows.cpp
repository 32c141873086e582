#include "controller/ControllerRows.h"

#include "core/automation/PlainText.h"
#include "core/modValues.h"

#include <QStringBuilder>

using namespace Qt::StringLiterals;

namespace {

constexpr qint32 ScanTimesCount = 3;
constexpr qint16 SettingDataCount = 21;

PropertyRows ScanTimesRows(const ControllerRef& controller)
{
    PropertyRows rows;
    for (qint32 i = 0; i < ScanTimesCount; ++i)
        rows << PropertyRow{u"ScanTimes(%1)"_s.arg(i),
                            [controller, i] { return QString::number(controller->get_ScanTimes(i)); }};
    return rows;
}

PropertyRows SettingDataRows(const ControllerRef& controller)
{
    PropertyRows rows;
    for (qint16 i = 0; i < SettingDataCount; ++i)
        rows << PropertyRow{u"SettingData(%1)"_s.arg(i),
                            [controller, i] { return ToPlainText(controller->get_SettingData(Variant(i))); }};
    return rows;
}

} // namespace

PropertyRows ControllerRows(const ControllerRef& controller)
{
    const PropertyRows head = {
        {u"Index"_s, [controller] { return QString::number(controller->get_Index()); }},
        {u"Name"_s, [controller] { return controller->get_Name(); }},
        {u"Description"_s, [controller] { return controller->get_Description(); }},
        {u"State"_s, [controller] { return StateText(controller->get_State()); }},
        {u"Count"_s, [controller] { return QString::number(controller->get_Count()); }},
    };
    const PropertyRow tag = {u"Tag"_s, [controller] { return modMain::ValueToDisplayText(controller->get_Tag()); }};
    return head + ScanTimesRows(controller) + PropertyRows{tag} + SettingDataRows(controller);
}

QString StateText(qint32 state)
{
    return QString::number(state) % u" (" % StateName(state) % u')';
}
