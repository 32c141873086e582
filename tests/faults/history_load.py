"""Records 100,000 values a second into PostgreSQL and SQLite while a client reads, with PostgreSQL stopped for a while;
says how long reading took at worst beside an idle server, how the backlog went, and whether any value is missing, there
twice or out of order.

usage: history_load.py [--seconds S] [--outage S] [--items N]   (default: 600 s, of these no outage; 10,000 items ten times a second)
"""
import argparse
from postgres import Postgres
from wire import *

READ = """
let took = [];
const item = Vlx.Controller("C").Item("N_0");
const end = Date.now() + %d;
while (Date.now() < end) {
    const before = Date.now(); item.Value; took.push(Date.now() - before); sleep(2);
}
took.sort((a, b) => a - b);
print(took.length, took[Math.floor(took.length * 0.999)], took[took.length - 1], took.filter(ms => ms > 20).length);
"""
# An item counts up by one: what is missing or there twice changes one of the sums.
WHOLE = """SELECT sum(n) AS records, count(*) AS items, count(CASE WHEN n <> hi - lo + 1 OR 2 * total <> n * (lo + hi) OR
6 * squares <> hi * (hi + 1) * (2 * hi + 1) - (lo - 1) * lo * (2 * lo - 1) THEN 1 END) AS wrong, max(hi) - min(hi) AS apart FROM
(SELECT item_name, count(*) AS n, min(value_number) AS lo, max(value_number) AS hi, sum(value_number) AS total,
sum(value_number * value_number) AS squares FROM velsql_values GROUP BY item_name) AS i"""
ORDER = """SELECT count(*) AS records, coalesce(sum(CASE WHEN step <> 1 THEN 1 END), 0) AS wrong FROM (SELECT value_number - lag(value_number)
OVER (PARTITION BY item_name ORDER BY item_utc) AS step FROM velsql_values WHERE controller_name = 'C' AND item_name IN ({})) AS s"""

arguments = argparse.ArgumentParser(description=__doc__)
arguments.add_argument("--seconds", type=int, default=600)
arguments.add_argument("--outage", type=int, default=0)
arguments.add_argument("--items", type=int, default=10_000)
options = arguments.parse_args()

pg = Postgres(); pl = Place("load"); idle = Place("idle")
sqlite = f"Database={pl.d}/second.db"


def plant(place, *connections, enabled=True, scanned=True):
    """The path of a plant file with these destinations."""
    path = place.d + "/plant.toml"
    with open(path, "w") as f:
        f.write(f"[history]\nenabled = {str(enabled).lower()}\n")
        for c in connections: f.write(f'[[history.destination]]\nconnection = "{c}"\nmax_size = "0"\n')
        f.write(f"""[[controller]]
name = "C"
scan_times = [{100 if scanned else 0}, 0, 0]
[[controller.item]]
name = "N_{{0..{options.items - 1}}}"
type = "I4"
history = true
signal = {{ form = "counter" }}
""")
    return path


def spooled():
    total = 0
    for folder, _, names in os.walk(pl.d + "/state/velsql/spool"):
        for name in names:
            if not name.endswith(".values"): continue
            try: total += os.path.getsize(os.path.join(folder, name))
            except OSError: pass
    return total


def read(place, seconds):
    reader = subprocess.Popen([BIN + "/velsqlscript", "--attach", "-"], env=place.env, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    reader.stdin.write(READ % (seconds * 1000)); reader.stdin.close()
    return reader


def read_both(seconds, what):
    readers = [read(pl, seconds), read(idle, seconds)]
    (count, most, worst, late), floor = [r.stdout.read().split() for r in readers]
    for r in readers: r.wait()
    check(int(worst) <= max(20, int(floor[2])), f"get_Value for {seconds} s {what}: {count} times, 99.9 % within {most} ms, {worst} ms at worst, {late} times more "
          f"than 20 ms; of an idle server: {floor[0]} times, {floor[1]} ms, {floor[2]} ms, {floor[3]} times")


def query(statement):
    r = subprocess.run([BIN + "/velsqlscript", "--attach", "--query", statement], env=pl.env, capture_output=True, text=True)
    return [float(word) for word in (r.stdout.split("\n") + ["", ""])[1].split("\t")] if r.returncode == 0 else r.stderr.strip()


def look_at(name, connection):
    """Asks the server, which knows how the rows lie; it records nothing meanwhile."""
    p = pl.start("--plant", plant(pl, connection, enabled=False))
    whole = query(WHOLE)
    some = query(ORDER.format(", ".join(f"'N_{i}'" for i in range(0, options.items, max(1, options.items // 50)))))
    check(isinstance(whole, list) and whole[1] == options.items and whole[2] == 0 and whole[3] <= 1,
          f"{name}: records, items, of these with values missing or there twice, ends apart: {whole}")
    check(isinstance(some, list) and some[1] == 0, f"{name}: records of 50 items, of these out of order: {some}")
    p.terminate(); p.wait(60)
    return whole


idle.start("--plant", plant(idle, enabled=False))
both = plant(pl, pg.connection, sqlite)
began = time.time()
p = pl.start("--plant", both)
subprocess.run([BIN + "/velsqlscript", "--attach", "-"], env=pl.env, input="Vlx.Start()", text=True)
read_both(options.seconds - options.outage, "recording")
print(f"   memory {pl.rss() // 1024} MB, spool {spooled() / 1e6:.1f} MB", flush=True)
if options.outage:
    pg.stop(); read_both(options.outage, "without PostgreSQL")
    peak = spooled(); print(f"   after {options.outage} s without PostgreSQL: spool {peak / 1e6:.1f} MB, memory {pl.rss() // 1024} MB", flush=True)
    pg.start(); back = time.time()
    while spooled() > peak * 0.02 and time.time() < back + 20 * 60:
        time.sleep(5); print(f"   {time.time() - back:5.0f} s: spool {spooled() / 1e6:.1f} MB", flush=True)
    check(spooled() <= peak * 0.02, f"caught up within {time.time() - back:.0f} s while recording went on")
lasted = time.time() - began
p.terminate(); p.wait(60)
said = pl.text().rstrip().split("\n")
print("   " + "\n   ".join(said[:30]) + (f"\n   and {len(said) - 30} more lines" if len(said) > 30 else ""), flush=True)
while spooled() > 0:                                     # what the end was too short for
    p = pl.start("--plant", plant(pl, pg.connection, sqlite, scanned=False)); time.sleep(20); p.terminate(); p.wait(60)
there = [look_at("PostgreSQL", pg.connection), look_at("SQLite", sqlite)]
check(there[0] == there[1], f"the same in both after {lasted:.0f} s, {there[0][0] / lasted:.0f} a second")
idle.close(); pl.close(); pg.close(); leave()
