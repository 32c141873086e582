"""What is recorded and added while something fails, and what must be there afterwards."""
import sqlite3
from anomaly_run import *

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


def until(is_so, otherwise):
    end = time.time() + PATIENCE
    while not is_so() and time.time() < end: time.sleep(0.02)
    expect(is_so(), otherwise)


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
            waits = lambda: any(name.endswith(".values") for _, _, names in os.walk(slot.d + "/state/velsql/spool") for name in names)
            until(lambda: not waits(), "values still wait on disk")
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


def told(run, lines=()):
    return bool(re.search(r" (error|warning): ", run.text()) or [line for line in lines if line[1] == "failed"])
