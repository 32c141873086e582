#include "history/HistoryRows.h"

#include "core/automation/PlainText.h"
#include "core/modMain.h"

using namespace Qt::StringLiterals;

VelSQLHistory& TheHistory()
{
    if (!modMain::History) throw ServerError(u"There is no history."_s);
    return *modMain::History;
}

PropertyRows HistoryRows()
{
    PropertyRows rows = {{u"Enabled"_s, [] { return FormatBool(TheHistory().get_Enabled()); }}};
    for (const qint32 i : {1, 2}) {
        rows << PropertyRow{u"ConnectionString(%1)"_s.arg(i), [i] { return TheHistory().get_ConnectionString(i); }}
             << PropertyRow{u"TableName(%1)"_s.arg(i), [i] { return TheHistory().get_TableName(i); }}
             << PropertyRow{u"MaxRecord(%1)"_s.arg(i), [i] { return QString::number(TheHistory().get_MaxRecord(i)); }};
    }
    return rows;
}
