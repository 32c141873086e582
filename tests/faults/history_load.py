"""Records 100,000 values a second into PostgreSQL and SQLite while a client reads, with PostgreSQL stopped for a while;
says how long reading took at worst, how the backlog went, and whether any value is missing, there twice or out of order.

usage: history_load.py [--seconds S] [--outage S] [--items N]   (default: 600 s, of these no outage; 10,000 items ten times a second)
"""
import argparse
from postgres import Postgres
from wire import *

READ = """
let worst = 0, count = 0, late = 0;
const item = Vlx.Controller("C").Item("N_0");
const end = Date.now() + %d;
while (Date.now() < end) {
    const before = Date.now(); item.Value; const took = Date.now() - before;
    worst = Math.max(worst, took); ++count; if (took > 20) ++late;
}
print(count, worst, late);
"""
STEPS = ("SELECT count(*) AS rows, (SELECT count(*) FROM (SELECT CAST(item_value AS {int}) - lag(CAST(item_value AS {int})) OVER "
         "(PARTITION BY item_name ORDER BY item_utc) AS step FROM velsql_values) AS s WHERE step <> 1) AS wrong FROM velsql_values")

arguments = argparse.ArgumentParser(description=__doc__)
arguments.add_argument("--seconds", type=int, default=600)
arguments.add_argument("--outage", type=int, default=0)
arguments.add_argument("--items", type=int, default=10_000)
options = arguments.parse_args()

pg = Postgres(); pl = Place("load")
plant = pl.d + "/plant.toml"
with open(plant, "w") as f:
    f.write(f"""[history]
[[history.destination]]
connection = "{pg.connection}"
max_record = 0
[[history.destination]]
connection = "Database={pl.d}/second.db"
max_record = 0
[[controller]]
name = "C"
scan_times = [100, 0, 0]
[[controller.item]]
name = "N_{{0..{options.items - 1}}}"
type = "I4"
history = true
signal = {{ form = "counter" }}
""")


def spooled():
    total = 0
    for folder, _, names in os.walk(pl.d + "/state/velsql/spool"):
        for name in names:
            if not name.endswith(".values"): continue
            try: total += os.path.getsize(os.path.join(folder, name))
            except OSError: pass
    return total


def read(seconds):
    return subprocess.Popen([BIN + "/velsqlscript", "--attach", "-"], env=pl.env, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True), seconds


def heard(reader):
    count, worst, late = reader[0].communicate(READ % (reader[1] * 1000))[0].split()
    check(int(worst) <= 20, f"get_Value for {reader[1]} s: {count} times, {worst} ms at worst, {late} times more than 20 ms")


began = time.time()
p = pl.start("--plant", plant)
subprocess.run([BIN + "/velsqlscript", "--attach", "-"], env=pl.env, input="Vlx.Start()", text=True)
heard(read(options.seconds - options.outage))
print(f"   memory {pl.rss() // 1024} MB, spool {spooled() / 1e6:.1f} MB", flush=True)
if options.outage:
    pg.stop(); heard(read(options.outage))
    peak = spooled(); print(f"   after {options.outage} s without PostgreSQL: spool {peak / 1e6:.1f} MB, memory {pl.rss() // 1024} MB", flush=True)
    pg.start(); back = time.time()
    while spooled() > peak * 0.02 and time.time() < back + 20 * 60:
        time.sleep(5); print(f"   {time.time() - back:5.0f} s: spool {spooled() / 1e6:.1f} MB", flush=True)
    check(spooled() <= peak * 0.02, f"caught up within {time.time() - back:.0f} s while recording went on")
lasted = time.time() - began
p.terminate(); p.wait(60)
print("   " + pl.text().replace("\n", "\n   ").rstrip(), flush=True)
while spooled() > 0:                                     # what the end was too short for
    p = pl.start("--plant", plant); time.sleep(10); p.terminate(); p.wait(60)
rows, wrong = pg.ask(STEPS.replace("{int}", "bigint"), "plant").split("|")
check(int(wrong) == 0, f"PostgreSQL: {rows} rows in {lasted:.0f} s, {int(rows) / lasted:.0f} a second; {wrong} missing, twice or out of order")
swapped = open(plant).read().replace(pg.connection, f"Database={pl.d}/second.db").replace(f'connection = "Database={pl.d}/second.db"\nmax_record = 0\n[[c', "[[c")
with open(plant, "w") as f: f.write(swapped.replace("[[history.destination]]\n[[controller]]", "[[controller]]"))
p = pl.start("--plant", plant)
r = subprocess.run([BIN + "/velsqlscript", "--attach", "--query", STEPS.replace("{int}", "INTEGER")], env=pl.env, capture_output=True, text=True)
print("   SQLite: " + r.stdout.strip().replace("\n", " ") + r.stderr.strip())
pl.close(); pg.close(); leave()
