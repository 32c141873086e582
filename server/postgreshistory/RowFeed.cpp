#include "server/postgreshistory/RowFeed.h"

#include "server/postgreshistory/CopyFeed.h"
#include "server/database/LibraryConnection.h"
#include "server/postgreshistory/StatementFeed.h"

std::unique_ptr<RowFeed> RowFeed::Make(Way way, const DatabaseSession& session, bool isOwn)
{
    switch (way) {
    case Way::BinaryCopy: return std::make_unique<BinaryCopyFeed>(session);
    case Way::Copy: return std::make_unique<TextCopyFeed>(session, isOwn);
    default: return std::make_unique<StatementFeed>(way, session, isOwn);
    }
}

std::unique_ptr<RowFeed> RowFeed::Choose(const DatabaseSession& session, const QString& table, bool isOwn)
{
    for (const Way way : {Way::BinaryCopy, Way::Copy, Way::Arrays}) {
        if (way == Way::BinaryCopy && !isOwn) continue;
        if (way <= Way::Copy && !LibraryConnection(session.Database())) continue;
        try {
            auto feed = Make(way, session, isOwn);
            feed->Begin(table);
            feed->End();
            return feed;
        } catch (const DatabaseError&) {
            // What the table itself refuses is refused, and said, whichever way is taken.
        }
    }
    return Make(Way::Values, session, isOwn);
}
