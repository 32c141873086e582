#include "server/postgreshistory/RowColumns.h"

QString RowColumns(bool isOwn)
{
    const QString columns = QStringLiteral("controller_name,item_name,item_value,item_time");
    return isOwn ? columns + QStringLiteral(",value_number,item_utc,item_state") : columns;
}

QString Storable(QString text)
{
    return text.replace(QChar(u'\0'), QChar(0xFFFD));
}
