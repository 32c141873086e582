#include "server/postgreshistory/Layout.h"

#include "server/postgreshistory/RowColumns.h"
#include "server/postgreshistory/SumStatements.h"

#include <array>
#include <limits>

namespace {

const QString s_Columns = QStringLiteral("controller_name text, item_name text, item_value text, item_time timestamp");

/// Nothing but what earlier versions made: the four columns, and neither children nor indexes, triggers or views on it.
const QString s_IsOld = QStringLiteral(R"(SELECT
 (SELECT string_agg(attname || ' ' || format_type(atttypid, atttypmod), ', ' ORDER BY attnum) FROM pg_attribute
  WHERE attrelid = c.oid AND attnum > 0 AND NOT attisdropped)
 = 'controller_name text, item_name text, item_value text, item_time timestamp without time zone'
 AND NOT EXISTS (SELECT FROM pg_depend WHERE refobjid = c.oid AND classid = 'pg_rewrite'::regclass)
 AND NOT relhassubclass AND NOT relhasindex AND NOT relhastriggers AND NOT relispartition AND relkind = 'r'
 FROM pg_class c WHERE oid = to_regclass(%1))");

/// What a text says as a number; null when it says none.
const QString s_Number = QStringLiteral(R"(CREATE OR REPLACE FUNCTION {number}(value text) RETURNS float8
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$ BEGIN
 IF value !~ '^\s*[-+]?(\d+\.?\d*|\.\d+)([eE][-+]?\d+)?\s*$' THEN RETURN NULL; END IF;
 RETURN value::float8;
 EXCEPTION WHEN numeric_value_out_of_range THEN RETURN NULL;
END $$)");

const QString s_Utc = QStringLiteral(R"(CREATE OR REPLACE FUNCTION {utc}(moment timestamp) RETURNS bigint
LANGUAGE sql IMMUTABLE STRICT PARALLEL SAFE
AS $$ SELECT (extract(epoch FROM moment AT TIME ZONE {zone}) * 1000000)::bigint $$)");

const QString s_Minute = QStringLiteral(R"(CREATE OR REPLACE FUNCTION {minute}(utc bigint) RETURNS bigint
LANGUAGE sql IMMUTABLE STRICT PARALLEL SAFE
AS $$ SELECT utc - ((utc % 60000000) + 60000000) % 60000000 $$)");

// Statements on the view name four columns; these fill in the others. Who may use the view needs no more.
const QString s_Insert = QStringLiteral(R"(CREATE OR REPLACE FUNCTION {insert}() RETURNS trigger
LANGUAGE plpgsql SECURITY DEFINER AS $$ BEGIN
 INSERT INTO {rows} (%1) VALUES (NEW.controller_name, NEW.item_name, NEW.item_value, NEW.item_time,
                            {number}(NEW.item_value), {utc}(NEW.item_time), 0);
 RETURN NEW;
END $$)");
const QString s_Update = QStringLiteral(R"(CREATE OR REPLACE FUNCTION {update}() RETURNS trigger
LANGUAGE plpgsql SECURITY DEFINER AS $$ BEGIN
 IF NEW.item_value IS DISTINCT FROM OLD.item_value THEN NEW.value_number := {number}(NEW.item_value); END IF;
 IF NEW.item_time IS DISTINCT FROM OLD.item_time THEN NEW.item_utc := {utc}(NEW.item_time); END IF;
 RETURN NEW;
END $$)");
const QString s_Note = QStringLiteral(R"(CREATE OR REPLACE FUNCTION {note_%1}() RETURNS trigger
LANGUAGE plpgsql SECURITY DEFINER AS $$ BEGIN
 INSERT INTO {changed} SELECT DISTINCT controller_name, item_name, {minute}(item_utc) FROM %2
 WHERE item_utc IS NOT NULL;
 RETURN NULL;
END $$)");

/// Who could use the old table may use the view.
const QString s_Rights = QStringLiteral(R"(DO $$ DECLARE r record; BEGIN
 FOR r IN SELECT CASE grantee WHEN 0 THEN 'PUBLIC' ELSE grantee::regrole::text END AS who, privilege_type FROM rights
 WHERE privilege_type IN ('SELECT', 'INSERT', 'UPDATE', 'DELETE') LOOP
  EXECUTE format('GRANT %s ON {history} TO %s', r.privilege_type, r.who);
 END LOOP;
END $$)");

const QString s_Values = QStringLiteral(R"(CREATE OR REPLACE VIEW {values} AS
 SELECT controller_name, item_name, item_value, item_time, value_number, item_utc, item_state FROM {rows}
 WHERE item_utc IS NOT NULL
 UNION ALL
 SELECT controller_name, item_name, item_value, item_time, {number}(item_value), {utc}(item_time), 0
 FROM {rows_other} WHERE item_utc IS NULL)");

const QString s_UnionAll = QStringLiteral("\nUNION ALL ");

const QString s_Shown = QStringLiteral(R"(CREATE OR REPLACE VIEW {%1} AS
 SELECT controller_name, item_name, start_utc, to_timestamp(start_utc / 1e6) AT TIME ZONE {zone} AS start_time,
        value_count, smallest, largest, first_value, last_value,
        number_sum / NULLIF(number_count, 0) AS mean_value, worst_state, number_count
 FROM %2)");

} // namespace

QString Layout::Version() const
{
    return m_Names.Fill(QStringLiteral("layout 2 {zone}"));
}

bool Layout::IsComplete() const
{
    const QString parts =
        Places({QStringLiteral("history"), QStringLiteral("values"), QStringLiteral("minutes"), QStringLiteral("hours"),
                QStringLiteral("days"), QStringLiteral("rows_other"), QStringLiteral("kept_hours")});
    return HasSumTables() &&
           m_Session
               .Ask(QStringLiteral("SELECT obj_description(%1, 'pg_class') = %2 AND num_nulls(%3) = 0")
                        .arg(Places({QStringLiteral("closed")}), LayoutNames::Literal(Version()), parts))
               .toBool();
}

bool Layout::HasSumTables() const
{
    const QString parts = Places({QStringLiteral("blocks"), QStringLiteral("changed"), QStringLiteral("closed")});
    return m_Session.Ask(QStringLiteral("SELECT num_nulls(%1) = 0").arg(parts)).toBool();
}

/// What names these parts in a statement; null for those that are missing.
QString Layout::Places(const QStringList& parts) const
{
    QStringList places;
    for (const QString& part : parts)
        places.append(QStringLiteral("to_regclass(%1)").arg(LayoutNames::Literal(m_Names.Of(part))));
    return places.join(u',');
}

Layout::Layout(const DatabaseSession& session, const LayoutNames& names)
    : m_Session(session)
    , m_Names(names)
{
}

Layout::Kind Layout::Find() const
{
    const auto exists = [this](const QString& part) {
        return !m_Session.Ask(QStringLiteral("SELECT ") + Places({part})).isNull();
    };
    if (exists(QStringLiteral("rows"))) return Kind::Partitioned;
    if (!exists(QStringLiteral("history"))) return Kind::Missing;
    const QString name = LayoutNames::Literal(m_Names.Of(QStringLiteral("history")));
    return m_Session.Ask(s_IsOld.arg(name)).toBool() ? Kind::OldTable : Kind::Foreign;
}

void Layout::Make(Kind found) const
{
    m_Session.Run(QStringLiteral("BEGIN"));
    try {
        if (found != Kind::Partitioned) MakeRows(found);
        MakeOther();
        if (found != Kind::Partitioned || !HasSumTables()) MakeSumTables();
        MakeHourTable();
        MakeFunctions();
        MakeViews();
        if (found == Kind::OldTable) Run(s_Rights);
        Run(QStringLiteral("COMMENT ON TABLE {closed} IS ") + LayoutNames::Literal(Version()));
        m_Session.Run(QStringLiteral("COMMIT"));
    } catch (const DatabaseError&) {
        m_Session.Database().rollback();
        throw;
    }
}

void Layout::MakeRows(Kind found) const
{
    Run(QStringLiteral("CREATE TABLE {rows} (%1, value_number float8, item_utc bigint, item_state integer) "
                       "PARTITION BY RANGE (item_time)")
            .arg(s_Columns));
    if (found != Kind::OldTable) return;
    Run(QStringLiteral("ALTER TABLE {history} ADD COLUMN value_number float8, ADD COLUMN item_utc bigint, "
                       "ADD COLUMN item_state integer"));
    Run(QStringLiteral("CREATE TEMPORARY TABLE rights ON COMMIT DROP AS SELECT (aclexplode(relacl)).* FROM pg_class "
                       "WHERE oid = to_regclass(%1)")
            .arg(LayoutNames::Literal(m_Names.Of(QStringLiteral("history")))));
    Run(QStringLiteral("ALTER TABLE {history} RENAME TO ") + u'"' + m_Names.Bare(QStringLiteral("rows_other")) + u'"');
    Run(QStringLiteral("ALTER TABLE {rows} ATTACH PARTITION {rows_other} DEFAULT"));
}

/// The partition for the rest, where it is missing.
void Layout::MakeOther() const
{
    if (!m_Session.Ask(QStringLiteral("SELECT ") + Places({QStringLiteral("rows_other")})).isNull()) return;
    Run(QStringLiteral("CREATE TABLE {rows_other} (LIKE {rows})"));
    Run(QStringLiteral("ALTER TABLE {rows} ATTACH PARTITION {rows_other} DEFAULT"));
}

/// Also where one of them has been dropped: then all that is closed is summed up anew.
void Layout::MakeSumTables() const
{
    Run(QStringLiteral("DROP TABLE IF EXISTS {blocks}, {changed}, {closed}, {kept_hours} CASCADE"));
    Run(QStringLiteral("CREATE TABLE {blocks} (controller_name text, item_name text, start_utc bigint, value_count "
                       "bigint, number_count bigint, smallest float8, largest float8, first_value float8, last_value "
                       "float8, number_sum float8, worst_state integer, day date) PARTITION BY LIST (day)"));
    Run(QStringLiteral("CREATE TABLE {changed} (controller_name text, item_name text, start_utc bigint)"));
    // Up to there all is summed up in {blocks}.
    Run(QStringLiteral("CREATE TABLE {closed} (until timestamp)"));
    Run(QStringLiteral("INSERT INTO {closed} VALUES ('-infinity')"));
}

/// Where the hours are missing they are kept anew.
void Layout::MakeHourTable() const
{
    if (!m_Session.Ask(QStringLiteral("SELECT ") + Places({QStringLiteral("kept_hours")})).isNull()) return;
    Run(QStringLiteral("CREATE TABLE {kept_hours} AS SELECT %1 FROM {blocks} WITH NO DATA").arg(SumColumns()));
    Run(QStringLiteral("CREATE INDEX ON {kept_hours} (controller_name, item_name, start_utc)"));
    // Small, and enough to find those that are not kept any longer.
    Run(QStringLiteral("CREATE INDEX ON {kept_hours} USING brin (start_utc)"));
    // Up to there, in microseconds of UTC, they are kept.
    Run(QStringLiteral("ALTER TABLE {closed} ADD COLUMN IF NOT EXISTS hours_until bigint"));
    Run(QStringLiteral(
            "UPDATE {closed} SET hours_until = (SELECT %1 FROM (SELECT min(start_utc) AS oldest FROM {blocks}) "
            "AS b)")
            .arg(RoundedDown(QStringLiteral("oldest"), DayLength)));
}

void Layout::MakeFunctions() const
{
    for (const QString& function : {s_Number, s_Utc, s_Minute, s_Insert.arg(RowColumns(true)), s_Update}) Run(function);
    struct Noted
    {
        QString Event;
        QString Rows;
        QString Referencing;
    };
    const QString before = QStringLiteral("OLD TABLE AS before_it");
    const QString after = QStringLiteral("NEW TABLE AS after_it");
    const std::array<Noted, 3> noted = {
        {{QStringLiteral("insert"), QStringLiteral("after_it"), after},
         {QStringLiteral("delete"), QStringLiteral("before_it"), before},
         {QStringLiteral("update"),
          QStringLiteral("(SELECT * FROM before_it UNION ALL SELECT * FROM after_it) AS both_of_them"),
          before + u' ' + after}}};
    for (const auto& [event, rows, referencing] : noted) {
        Run(s_Note.arg(event, rows));
        Run(QStringLiteral("CREATE OR REPLACE TRIGGER note_%1 AFTER %1 ON {rows} REFERENCING %2 FOR EACH STATEMENT "
                           "EXECUTE FUNCTION {note_%1}()")
                .arg(event, referencing));
    }
    Run(QStringLiteral("CREATE OR REPLACE TRIGGER fill_in BEFORE UPDATE ON {rows} FOR EACH ROW "
                       "EXECUTE FUNCTION {update}()"));
}

void Layout::MakeViews() const
{
    Run(QStringLiteral("CREATE OR REPLACE VIEW {history} AS "
                       "SELECT controller_name, item_name, item_value, item_time FROM {rows}"));
    Run(QStringLiteral("CREATE OR REPLACE TRIGGER fill_in INSTEAD OF INSERT ON {history} FOR EACH ROW "
                       "EXECUTE FUNCTION {insert}()"));
    Run(s_Values);
    const QString open = QStringLiteral("(SELECT * FROM {rows} WHERE item_time >= (SELECT until FROM {closed})) AS r");
    const QString other = QStringLiteral("(SELECT controller_name, item_name, item_time, {number}(item_value) AS "
                                         "value_number, {utc}(item_time) AS item_utc, coalesce(item_state, 0) AS "
                                         "item_state FROM {rows_other} WHERE item_time < (SELECT until FROM {closed})) "
                                         "AS r");
    const QString minutes = QStringLiteral("SELECT %1 FROM {blocks}").arg(SumColumns());
    const QString rest = s_UnionAll + SummedUp(open) + s_UnionAll + SummedUp(other);
    Run(QStringLiteral("CREATE OR REPLACE VIEW {sums} AS ") + minutes + rest);
    // What is behind the kept hours. A minute may stand with the day before or after its own, as zones have it.
    const QString behind =
        minutes + QStringLiteral(" WHERE start_utc >= (SELECT coalesce(hours_until, %1) FROM {closed}) AND day >= "
                                 "(SELECT coalesce(to_timestamp(hours_until / 1e6)::date - 2, '-infinity') FROM "
                                 "{closed})")
                      .arg(std::numeric_limits<qint64>::min() + 1);
    Run(QStringLiteral("CREATE OR REPLACE VIEW {hour_sums} AS SELECT * FROM {kept_hours}") + s_UnionAll + behind +
        rest);
    Run(s_Shown.arg(QStringLiteral("minutes"), QStringLiteral("{sums}")));
    const auto longer = [](qint64 length) {
        return u'(' + SummedUp(QStringLiteral("{hour_sums}"), length) + QStringLiteral(") AS longer");
    };
    Run(s_Shown.arg(QStringLiteral("hours"), longer(HourLength)));
    Run(s_Shown.arg(QStringLiteral("days"), longer(DayLength)));
}
