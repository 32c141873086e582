"""Lets one operation of a program fail after the other: the first, the second and so on until none fails any more, once
and from then on for ever. After each: no crash, no hang, a description where the operator looks, and at the next start
everything that was acknowledged is there, once.

usage: anomalies.py [--scenario NAME]... [--most N] [KIND...]        (default: all; of each kind all there are)
"""
import argparse, sqlite3
from concurrent.futures import ThreadPoolExecutor
from anomaly_run import *

# What says nothing on purpose: a pattern of the kind and of the functions in which it struck, and why that does no harm.
HARMLESS = [
    ("short .*", "the rest is written then"),
    ("name mkdir < .*MakePrivateFolder", "the folder is there; if it were not, opening the file in it would fail"),
    ("name unlink < <libsqlite3>", "what is left beside a database is used or replaced when it is opened again"),
    ("allocation malloc < <libQt6Core> < QList<double>::reserve", "it grows with its elements instead"),
    ("name (linkat|unlink) < .*ResultSpool::", "the file of a result needs no name, and goes with the result"),
    ("name linkat < <libQt6Core> < FileOutput", "another name is tried"),
    ("sync fdatasync < <libQt6Core> < FileOutput", "it has just been done, and been looked at"),
    ("name (linkat|unlink) < .*QueryOutput::", "another name is tried; when the program ends the file has its place"),
    ("allocation malloc < <libQt6Gui> < TrendPainter::PaintCurves", "the curves are painted without a layer of their own"),
    ("[a-z]+ [a-z0-9]+ < <libfontconfig>", "fonts are found without their cache"),
    ("open open < MakePrivateFile", "the file is there; if it were not, this would be said"),
    ("open open64 < <libsqlite3>", "SQLite then opens the file for reading, and the answer is right"),
    ("[a-z]+ [a-z0-9]+ < <libsqlite3> < SqliteConnection::CanBeRead", "it is then read without files beside it"),
    ("sync fdatasync < <libsqlite3> < SqliteConnection::~SqliteConnection", "what stands beside the database stays there"),
    ("sync fdatasync < <libsqlite3> < SqliteConnection::Run < Takeover::Finish", "only space is not free yet"),
    ("name unlink < <libQt6Core> < RowPartition::RowPartition", "the next server removes what is left of the making"),
    ("socket eventfd < <libglib", "GLib uses pipes instead"),
    ("socket [a-z0-9_]+ < .*(HistoryFeed|LiveFeed)::", "it is tried again, and the file is whole"),
    ("socket sendmsg < SocketStream", "the client sees that its connection has ended"),
]

# Where a foreign library ends the program: what it says, and why nothing can be done about it.
FOREIGN = [
    ("GLib-ERROR .*: Creating pipes for GWakeup", "GLib's loop, with which each Qt program and each of its threads begins"),
]

PLANT = """
[history]
durability = "power"
[[history.destination]]
connection = "Database=%(d)s/recorded/history.db"
max_record = 0
[[controller]]
name = "C"
[[controller.item]]
name = "N"
type = "I4"
history = true
[[controller.item]]
name = "Text"
type = "BSTR"
history = true
[[controller.item]]
name = "Array"
type = "VARIANT"
%(more)s
"""
COMMON = """
const c = Vlx.Controller("C");
function say(...what) { print(JSON.stringify(what)); }
function step(name, action) {
    try { const result = action(); say(name, "done", result === undefined ? null : result); }
    catch (error) { say(name, "failed", String(error.message)); }
}
const choices = [4, 7, 11, 15, 27, 30, 32, 36, 37, 38];
const flags = [1, 9, 12, 13, 14, 16, 19, 22, 24, 26, 29, 31, 33, 34, 35];
function definition(name) {
    const elements = [];
    for (let i = 0; i <= 40; ++i) elements.push(choices.includes(i) ? I2(0) : flags.includes(i) ? false : "");
    return Object.assign(elements, { 0: name });
}
function write(first, last) { for (let i = first; i <= last; ++i) step("N" + i, () => { c.Item("N").Value = i; }); }
function text(n) { step("Text" + n, () => { c.Item("Text").Value = ("text" + n).padEnd(SIZE, "."); }); }
"""
LARGE = """
step("array", () => { c.Item("Array").Value = ArrayOf("R8", Array.from({length: 150000}, (_, i) => i)); return c.Item("Array").Value.length; });
step("long text", () => c.Item("Text").Value.length);
"""
LIFE = COMMON + """
write(101, 110);
step("+A2", () => c.AddItem(definition("A2")));
step("-A0", () => c.RemoveItem("A0"));
step("+A3", () => c.AddItem(definition("A3")));
text(50);
""" + LARGE + """
step("rows", () => { let n = 0; for (const row of Vlx.History.Execute(
    "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 3000) SELECT x, printf('%.400c', 'a') FROM c")) ++n; return n; });
step("row", () => Vlx.History.Execute("SELECT printf('%.800000c', 'b')").Cell(0, 0).length);
step("raw", () => Vlx.History.ReadRaw("C\\\\N", undefined, undefined, false, 5).RowCount > 0);
write(111, 115);
"""
EXPECTED = {"array": 150000, "rows": 3000, "row": 800000, "raw": True}
LOOK = COMMON + """
step("items", () => c.ItemNames);
for (const item of ["N", "Text"])
    step(item, () => [...Vlx.History.Execute("SELECT substr(item_value, 1, 6) FROM velsql_history WHERE item_name = '" + item + "' ORDER BY item_time")].map(row => row[0]));
"""


class Fault(Exception): pass


def expect(ok, text):
    if not ok: raise Fault(text)


class Lock:
    """Another program that keeps the newest partition to itself."""
    def __init__(self, slot):
        folder = slot.d + "/recorded/history.db.parts/velsql_history/"
        newest = sorted(name for name in os.listdir(folder) if name.endswith(".db"))[-1]
        self.db = sqlite3.connect(folder + newest, isolation_level=None, check_same_thread=False)
        self.db.execute("BEGIN EXCLUSIVE")

    def let_go(self): self.db.execute("ROLLBACK"); self.db.close()


def plant(slot, more=""):
    with open(slot.d + "/plant.toml", "w") as f: f.write(PLANT % dict(d=slot.d, more=more))
    return ["--plant", slot.d + "/plant.toml"]


def server(slot, **how): return Run(slot, "velsqlserver", "--plant", slot.d + "/plant.toml", **how)


def ended(run):
    code = run.end()
    expect(code == 0, f"the server ended with {code}: {run.text()[-1000:]}")


class Recorded:
    """What is to be there at the end: what must be, and what may be."""
    def __init__(self):
        self.must = {"N": list(range(1, 81)), "Text": list(range(1, 8))}
        self.may = {"N": set(), "Text": set()}
        self.items, self.gone = {"A0", "A1"}, set()

    def note(self, lines):
        for name, outcome, *_ in lines:
            done = outcome == "done"
            if name[0] in "+-":
                (self.items if done and name[0] == "+" else self.gone).add(name[1:])
                if name[0] == "-" or not done: self.items.discard(name[1:])
            found = re.match(r"(N|Text)(\d+)$", name)
            if found and done: self.must[found[1]].append(int(found[2]))
            elif found: self.may[found[1]].add(int(found[2]))

    def compare(self, slot):
        """With what a server has that nothing happens to."""
        run = server(slot)
        try:
            expect(run.listens(), "the next server does not start: " + run.text())
            end = time.time() + PATIENCE
            waits = lambda: any(name.endswith(".values") for _, _, names in os.walk(slot.d + "/state/velsql/spool") for name in names)
            while waits() and time.time() < end: time.sleep(0.02)
            expect(not waits(), "values still wait on disk: " + run.text())
            seen = {name: result for name, _, result in slot.script(LOOK)}
            expect(isinstance(seen.get("items"), list), f"the next server answers {seen}")
            missing = self.items - set(seen["items"])
            expect(not missing, f"added items are missing: {missing}")
            expect(not (set(seen["items"]) & {"A0", "A1", "A2", "A3"}) - self.items - self.gone, f"items are back: {seen['items']}")
            for item, number in (("N", int), ("Text", lambda text: int(text[4:].rstrip(".")))):
                there = [number(value) for value in seen[item] if value]
                lost = set(self.must[item]) - set(there)
                expect(not lost, f"values of {item} are missing: {sorted(lost)[:10]}")
                expect(len(there) == len(set(there)), f"values of {item} are there twice")
                expect(set(there) <= set(self.must[item]) | self.may[item], f"values of {item} that nobody wrote: {there[-5:]}")
            ended(run)
        finally: run.kill()


# Each scenario makes its folder once, then runs with one anomaly after the other. It returns whether the operator was
# told of a failure.

def told(run, lines=()):
    return bool(re.search(r" (error|warning): ", run.text()) or [line for line in lines if line[1] == "failed"])


class Start:
    """A server starts: a large plant, added items, a history, values that wait on disk."""
    kinds, most = KINDS, 10_000

    def prepare(self, slot):
        plant(slot, "#" + "x" * 1_200_000)
        run = server(slot); run.listens()
        slot.script(COMMON + 'write(1, 50); for (let i = 1; i < 5; ++i) text(i); step("+", () => c.AddItem(definition("A0"))); c.AddItem(definition("A1"));')
        ended(run)
        lock = Lock(slot); run = server(slot); run.listens()
        slot.script(COMMON + "write(51, 80); for (let i = 5; i < 8; ++i) text(i);")
        time.sleep(0.5); run.kill(); lock.let_go()

    def run(self, slot, **anomaly):
        run, recorded, lines = server(slot, **anomaly), Recorded(), []
        try:
            if run.listens():
                lines = slot.script(COMMON + "write(81, 82);")
                recorded.note(lines); run.arm(False)
                if lines or anomaly["kind"] == "socket" and run.p.poll() is None: ended(run)     # else it ends by itself
            if run.end(None) != 0: expect(run.p.returncode == 1 and run.text().strip(), f"it ends with {run.p.returncode} without a word")
            yield told(run, lines) or run.p.returncode == 1
            recorded.compare(slot)
        finally: run.kill()


class Life(Start):
    """A server lives: items are added and removed, values recorded, large ones written and read, statements answered."""

    def run(self, slot, **anomaly):
        run, recorded = server(slot, armed=False, **anomaly), Recorded()
        try:
            expect(run.listens(), run.text())
            waits = slot.d + "/state/velsql/spool"
            end = time.time() + PATIENCE
            while any(names for _, _, names in os.walk(waits)) and time.time() < end: time.sleep(0.01)
            run.arm(True); lines = slot.script(LIFE, 6 * PATIENCE); run.arm(False)
            recorded.note(lines)
            expect(len(lines) == 24 or anomaly["kind"] == "socket", f"of 24 steps {len(lines)} were made: {lines[-1:]}")
            for name, outcome, result in lines:
                expect(outcome == "failed" or result == EXPECTED.get(name, result), f"{name} answers {result}")
            expect(Raw(run.place.sock).ping() < 5, "no ping is answered")
            ended(run)
            yield told(run, lines)
            recorded.compare(slot)
        finally: run.kill()


class Leak(Start):
    """What fails again and again leaves nothing in memory."""
    kinds, most = ("allocation", "write", "name", "open", "thread"), 1
    AGAIN = COMMON + """
for (let i = 0; i < %d; ++i) {
    step("+A" + i, () => c.AddItem(definition("A9"))); step("-A" + i, () => c.RemoveItem("A9"));
    """ + LARGE + """
    step("row", () => Vlx.History.Execute("SELECT printf('%%.800000c', 'b')").Cell(0, 0).length);
    sleep(1050);      // a client that has been dropped comes back once a second
}"""

    def run(self, slot, **anomaly):
        run = server(slot, armed=False, **anomaly)
        try:
            expect(run.listens(), run.text())
            slot.script(self.AGAIN % 2); run.arm(True)
            slot.script(self.AGAIN % 4, 12 * PATIENCE); before = status(run.p.pid, "VmRSS")
            slot.script(self.AGAIN % 16, 12 * PATIENCE); grown = status(run.p.pid, "VmRSS") - before
            expect(grown < 4000, f"16 rounds of failures took {grown} kB")
            run.arm(False); ended(run)
            yield True
        finally: run.kill()


class Away(Start):
    """The history's database is locked for a while: values go to the disk and come back from there."""
    kinds = ("allocation", "write", "short", "sync", "name", "open")

    def run(self, slot, **anomaly):
        run, recorded, lock = server(slot, armed=False, **anomaly), Recorded(), None
        try:
            expect(run.listens(), run.text())
            slot.script(COMMON); time.sleep(0.3)
            lock = Lock(slot); run.arm(True)
            lines = slot.script(COMMON + "write(101, 105); text(60); write(106, 110); sleep(200); text(61); write(111, 115);")
            recorded.note(lines)
            time.sleep(0.15); lock.let_go(); lock = None
            time.sleep(0.4); run.arm(False)
            ended(run)
            yield told(run, lines)
            recorded.compare(slot)
        finally:
            if lock: lock.let_go()
            run.kill()


class TakeOver:
    """The table of an earlier version is taken over."""
    kinds, most = ("allocation", "write", "short", "sync", "name", "open", "thread"), 10_000
    ROWS = 25_000

    def prepare(self, slot):
        plant(slot); os.makedirs(slot.d + "/recorded", mode=0o700)
        db = sqlite3.connect(slot.d + "/recorded/history.db")
        db.execute("CREATE TABLE velsql_history (controller_name TEXT, item_name TEXT, item_value NUMERIC, item_time TEXT)")
        db.executemany("INSERT INTO velsql_history VALUES ('C', 'N', ?, ?)",
                       ((i, "2024-01-31 %02d:%02d:%02d" % (i // 3600, i // 60 % 60, i % 60)) for i in range(self.ROWS)))
        db.commit(); db.close()

    def await_end(self, run):
        end = time.time() + PATIENCE
        while time.time() < end and run.p.poll() is None and not re.search(" is done|stops until|Values wait", run.text()): time.sleep(0.02)

    def run(self, slot, **anomaly):
        run = server(slot, **anomaly)
        try:
            if run.listens(): self.await_end(run); run.arm(False); ended(run)
            yield told(run) or run.p.returncode == 1
            is_done = " is done" in run.text()
            run = server(slot); expect(run.listens(), run.text())
            if not is_done: self.await_end(run)
            count = slot.script(COMMON + 'step("count", () => Vlx.History.Execute("SELECT count(*), count(DISTINCT item_value) FROM velsql_history").Row(0));')
            expect(count[0][2] == [self.ROWS, self.ROWS], f"of {self.ROWS} rows are there: {count}")
            ended(run)
        finally: run.kill()


class Backup(Start):
    """A history is copied."""
    kinds = ("allocation", "write", "short", "sync", "name", "open")

    def run(self, slot, **anomaly):
        copy = slot.d + "/copy.db"
        run = Run(slot, "velsqlserver", "--plant", slot.d + "/plant.toml", "--backup", copy, **anomaly)
        try:
            code = run.end(None)
            expect(code == 0 or (code == 1 and run.text().strip() and not os.path.exists(copy)), f"it ends with {code}: {run.text()}")
            if code == 0:
                db = sqlite3.connect(copy)
                expect(db.execute("SELECT count(*) FROM velsql_history WHERE item_name = 'N'").fetchone() == (50,), "rows are missing")
                db.close()
            yield code == 1
        finally: run.kill()


class Client(Start):
    """A program writes files from what a server answers: `arguments` with "OUT" for the file."""
    program, arguments, patience = "", (), PATIENCE

    def prepare(self, slot):
        super().prepare(slot)
        run = server(slot); run.listens()
        slot.script(COMMON); time.sleep(0.5); ended(run)

    def run(self, slot, **anomaly):
        slot.out = slot.d + "/out/" + self.arguments[-1]
        os.makedirs(slot.d + "/out")
        with open(slot.out, "w") as f: f.write("before")
        owner = server(slot)
        run = None
        try:
            expect(owner.listens(), owner.text())
            arguments = [argument.replace("OUT", slot.out) for argument in self.arguments[:-1]]
            run = Run(slot, self.program, *arguments, **anomaly)
            code = run.end(None)
            content = open(slot.out, "rb").read()
            left = os.listdir(slot.d + "/out")
            cannot = anomaly["kind"] == "name" and anomaly.get("lasting")      # remove anything
            expect(left == [self.arguments[-1]] or cannot, f"files are left: {left}")
            if code == 0: expect(self.is_whole(content), "the file is not whole: %r" % content[:100])
            else: expect(run.text().strip(), f"it ends with {code} without a word")
            yield code != 0 or run.text().strip() != ""
        finally:
            owner.kill()
            if run: run.kill()


class Query(Client):
    """velsqlscript writes a result."""
    program, arguments = "velsqlscript", ("--attach", "--query", "SELECT item_name, item_value FROM velsql_history", "--csv", "OUT", "result.csv")

    def is_whole(self, content): return content.count(b"\nN,") == 80 and content.count(b"\nText,") == 7


class Picture(Client):
    """velsqltrend writes a picture and a table."""
    program, arguments = "velsqltrend", ("--from", "-10 min", "--png", "OUT", "C\\N", "picture.png")

    def is_whole(self, content): return content.startswith(b"\x89PNG") and content[-8:-4] == b"IEND"


class Table(Client):
    """velsqltrend writes a table."""
    program, arguments = "velsqltrend", ("--from", "-10 min", "--csv", "OUT", "C\\N", "values.csv")

    def is_whole(self, content): return content.count(b"\n") >= 80


class Console(Start):
    """The console opens on a server, and is closed."""
    def run(self, slot, **anomaly):
        owner, run = server(slot), None
        try:
            expect(owner.listens(), owner.text())
            run = Run(slot, "velsqltester", **anomaly)
            time.sleep(1.2)
            code = run.end()
            expect(code == -signal.SIGTERM or (code == 1 and run.text().strip()), f"it ends with {code}: {run.text()}")
            run.p.returncode = max(code, 0)
            yield True      # what it says stands in its window
        finally:
            owner.kill()
            if run: run.kill()


SCENARIOS = [Start, Life, Leak, Away, TakeOver, Backup, Query, Picture, Table, Console]


def attempt(scenario, slot, **anomaly):
    """Whether it struck; what was wrong, if so."""
    slot.reset()
    steps, wrong = scenario.run(slot, **anomaly), ""
    try:
        if not next(steps) and slot.run.strikes()[0] > 0:
            where = f"{anomaly['kind']} {slot.run.where()}"
            if not any(re.match(pattern, where) for pattern, _ in HARMLESS): wrong = "nothing is said"
        next(steps, None)
    except (Fault, OSError, EOFError, ValueError, subprocess.TimeoutExpired) as e: wrong = wrong or f"{type(e).__name__}: {e}"
    finally: steps.close()
    run = slot.run
    if not run: return False, wrong
    if run.crashed() and any(re.search(pattern, run.text()) for pattern, _ in FOREIGN): wrong = ""
    elif run.crashed(): wrong = f"it crashed: {run.crashed()}. {wrong}"
    if wrong: wrong += f"\n          at {run.where()}\n          it said: {run.text()[-1500:]}"
    return run.strikes()[0] > 0, wrong


def campaign(scenario, slots, kind, most):
    """Counts of runs and findings."""
    runs = findings = 0
    for lasting in (False, True):
        n, is_over = 1, False
        while not is_over and n <= min(most, scenario.most):
            with ThreadPoolExecutor(len(slots)) as pool:
                results = list(pool.map(lambda i: attempt(scenario, slots[i], kind=kind, n=n + i, lasting=lasting), range(len(slots))))
            for i, (struck, wrong) in enumerate(results):
                if not struck and not wrong: is_over = True; continue
                runs += struck
                if wrong:
                    findings += 1
                    print(f"   {type(scenario).__name__} {kind} {n + i}{' and on' if lasting else ''}: {wrong}", flush=True)
            n += len(slots)
    return runs, findings


arguments = argparse.ArgumentParser(description=__doc__)
arguments.add_argument("kinds", nargs="*", metavar="KIND")
arguments.add_argument("--scenario", action="append", choices=[s.__name__ for s in SCENARIOS])
arguments.add_argument("--most", type=int, default=1000)
options = arguments.parse_args()
if set(options.kinds) - set(KINDS): arguments.error("kinds are " + ", ".join(KINDS))
if not os.path.exists(BIN + "/anomaly.so"): arguments.error(BIN + "/anomaly.so has not been built")
total = [0, 0]
for made in SCENARIOS:
    if options.scenario and made.__name__ not in options.scenario: continue
    scenario, slots = made(), [Slot(), Slot()]
    for slot in slots: scenario.prepare(slot); slot.keep()
    for kind in options.kinds or made.kinds:
        if kind not in made.kinds: continue
        _, wrong = attempt(scenario, slots[0], kind=kind)
        check(not wrong, f"{made.__name__}, {kind}: nothing fails" + (f": {wrong}" if wrong else ""))
        runs, findings = campaign(scenario, slots, kind, options.most)
        check(findings == 0, f"{made.__name__}, {kind}: {runs} failures, {findings} findings")
        total[0] += runs; total[1] += findings
    for slot in slots: slot.close()
print(f"{total[0]} failures, {total[1]} findings")
leave()
