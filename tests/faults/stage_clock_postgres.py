"""The clock is set forward by a year while a history in PostgreSQL keeps records by age: nothing goes because of it, not
even when the connection is lost or another server comes, and what is recorded once it is set back is summed up rightly."""
from clocked import *
from postgres import Postgres

LOOK = 8             # seconds in which the server looks at what is too old several times
AGAIN = 15           # and in which it does so on a new connection
OLDEST = "SELECT min(item_time)::text FROM velsql_history"
SUMS = "SELECT count(*) - (SELECT sum(value_count) FROM velsql_minutes) FROM velsql_values"

pg = Postgres()
c = Clocked(pg.connection)
now = AUTUMN - HOUR
c.start_at(now); c.record(); oldest = c.query(OLDEST)
check(len(oldest) == 1 and oldest[0].startswith("2024-10-27 02:00:0"), f"the first record: {oldest}")
c.set(now + YEAR); c.record(); time.sleep(LOOK)
check("The clock has jumped by 8760.0 hours" in c.pl.text() and c.query(OLDEST) == oldest, "a year forwards: nothing goes")
pg.ask("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'writer'"); c.record(); time.sleep(AGAIN)
check(c.query(OLDEST) == oldest, "nor on a new connection")
c.stop(); c.start_at(now + YEAR + HOUR); c.record(); time.sleep(AGAIN)
check(c.query(OLDEST) == oldest, "nor from the next server")
c.set(now + 2 * HOUR); c.record(); time.sleep(LOOK)
check(c.query(OLDEST) == oldest and c.query(SUMS) == ["0"], f"set back: nothing goes, and sums agree: {c.query(SUMS)}")
c.stop(); c.start_at(now + YEAR + 4 * DAY); c.record(); time.sleep(AGAIN)
check("The last record is" in c.pl.text() and c.query(OLDEST) == oldest, "a server that begins days later waits for a day")
c.stop(); c.start_at(now + YEAR + 5 * DAY + 60); c.record(); time.sleep(LOOK)
check(c.query(OLDEST) != oldest, f"then what is too old goes: the oldest is now {c.query(OLDEST)}")
if failed: print(c.pl.text())
c.stop(); c.close(); pg.close()
leave()
