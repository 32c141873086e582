"""What a server does while its operations fail. Each scenario makes its folder once, then runs with one anomaly after the
other; it yields whether the operator was told of a failure, and then looks at what there is afterwards."""
from anomaly_recorded import *


class Start:
    """A server starts: a large plant, added items, a history, values that wait on disk."""
    kinds, most, once = KINDS, 1_000_000, True      # most: of uses that fail; once: besides from one on for ever

    def prepare(self, slot):
        plant(slot, "#" + "x" * 1_200_000)
        run = server(slot); run.listens()
        slot.script(COMMON + 'write(1, 50); for (let i = 1; i < 5; ++i) text(i); step("+", () => c.AddItem(definition("A0"))); c.AddItem(definition("A1"));')
        ended(run)
        lock = Lock(slot); run = server(slot); run.listens()
        slot.script(COMMON + "write(51, 80); for (let i = 5; i < 8; ++i) text(i);")
        until(lambda: self.is_on_disk(slot, ("text7" + "." * 699_995).encode("utf-16-be")), "the last value does not come to the disk")
        time.sleep(0.2); run.kill(); lock.let_go()

    def is_on_disk(self, slot, content):
        folders = os.walk(slot.d + "/state/velsql/spool")
        return any(content in open(folder + "/" + name, "rb").read() for folder, _, names in folders for name in names)

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
    # The sanitizers keep what was given back for a while, and look for what was not themselves.
    kinds = () if SANITIZER else ("allocation", "write", "name", "open", "thread")
    most, once = 1, False
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
            slot.script(self.AGAIN % 12, 12 * PATIENCE); before = status(run.p.pid, "VmRSS")
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
    kinds, most, once = ("allocation", "write", "short", "sync", "name", "open", "thread"), 1_000_000, True
    ROWS = 10_500      # two portions

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
            if run.listens(): self.await_end(run); run.arm(False)
            expect(run.end() == 0 or run.p.returncode == 1 and run.text().strip(), f"it ends with {run.p.returncode}: {run.text()}")
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
            expect(code == 0 or anomaly["n"], f"nothing fails, and it ends with {code}: {run.text()}")
            expect(code == 0 or (code == 1 and run.text().strip() and not os.path.exists(copy)), f"it ends with {code}: {run.text()}")
            if code == 0:
                db = sqlite3.connect(copy)
                expect(db.execute("SELECT count(*) FROM velsql_history WHERE item_name = 'N'").fetchone() == (50,), "rows are missing")
                db.close()
            yield code == 1
        finally: run.kill()
