"""The clock is set while a history in SQLite keeps records by age, and while no server runs: nothing goes because of it
until a day later, the log says so, and every record has the time that the clock showed. On the day on which clocks are
set back no hour comes twice in UTC."""
from clocked import *

LOOK = 65            # seconds in which the server looks at what is too old

c = Clocked()
now = AUTUMN - HOUR
for begin in (now, now + HOUR, now + 2 * HOUR):          # 2:00 summer time, 2:00 and 3:00 winter time
    c.start_at(begin); c.record(); hours = c.query("SELECT start_time FROM velsql_hours WHERE item_name = 'N0' ORDER BY start_utc"); c.stop()
check([h[11:13] for h in hours] == ["02", "02", "03"], f"hours of the day with 25: {hours}")
check(c.pl.text().count("left alone") == 0, "hours later the clock is trusted")

c.start_at(now + 3 * DAY); c.record()
check(c.oldest(now) == 0 and "is 70.0 hours old, or the clock is wrong" in c.pl.text(), "three days later nothing goes")
c.set(now + 3 * DAY + YEAR); time.sleep(LOOK); c.record()
check(c.oldest(now) == 0 and "The clock has jumped by 8760.0 hours" in c.pl.text(), "a year forwards: nothing goes")
c.set(now + 3 * DAY); time.sleep(LOOK); c.record()
check(c.oldest(now) == 0 and c.pl.text().count("The clock has jumped by 8760.0 hours") == 2, "and back: nothing goes")
c.set(now + 3 * DAY - 2 * HOUR); time.sleep(LOOK); c.record()
check(c.oldest(now) == 0 and "The clock has jumped by 2.0 hours" in c.pl.text(), "two hours back: nothing goes")
c.stop()
c.start_at(now + 4 * DAY - 3 * HOUR); c.record()
check(c.oldest(now) == 0, "the next server knows"); c.stop()
c.start_at(now + 4 * DAY - HOUR); c.record()
check(c.oldest(now) == 2, f"a day later the first partition goes, two hours of records: the oldest is now of hour {c.oldest(now)}")
future = c.query(f"SELECT count(*) > 0 FROM velsql_values WHERE item_utc > {(now + YEAR) * 1000000}")
check(future == ["1"], "what came while the clock was in the future stays")
if failed: print(c.pl.text())
c.close()
leave()
