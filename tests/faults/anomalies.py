"""Lets one operation of a program fail after the other: the first, the second and so on until none fails any more, once
and from then on for ever. After each: no crash, no hang, a description where the operator looks, and at the next start
everything that was acknowledged is there, once.

usage: anomalies.py [--scenario NAME]... [--at N [--lasting]] [KIND...]        (default: all; of each kind all there are)
"""
import argparse, itertools
from concurrent.futures import ThreadPoolExecutor
from anomaly_clients import *

# What says nothing on purpose: a pattern of the kind and of the functions in which it struck, and why that does no harm.
HARMLESS = [
    ("short .*", "the rest is written then"),
    ("name mkdir < .*MakePrivateFolder", "the folder is there; if it were not, opening the file in it would fail"),
    ("name unlink < <libsqlite3>", "what is left beside a database is used or replaced when it is opened again"),
    ("allocation malloc < <libQt6Core> < QList<double>::reserve", "it grows with its elements instead"),
    ("name unlink < <libQt6Core> < BackUpHistory", "what is left of an unfinished copy is in the way of the new one, which would say so"),
    ("open opendir < <libQt6Core> < RowPartition::RowPartition", "the next server removes what is left of the making"),
    ("name (unlink|rmdir) < .*Spool::RemoveEmptyFolders", "the next server finds the folder empty and removes it"),
    ("name (linkat|unlink) < .*ResultSpool::", "the file of a result needs no name, and goes with the result"),
    ("name linkat < <libQt6Core> < FileOutput", "another name is tried"),
    ("sync fdatasync < <libQt6Core> < FileOutput", "it has just been done, and been looked at"),
    ("name (linkat|unlink) < .*QueryOutput::", "another name is tried; when the program ends the file has its place"),
    ("allocation malloc < <libQt6Gui> < TrendPainter::PaintCurves", "the curves are painted without a layer of their own"),
    ("[a-z]+ [a-z0-9]+ < <libfontconfig>", "fonts are found without their cache"),
    ("open open < MakePrivateFile", "the file is there; if it were not, this would be said"),
    ("open open64 < <libsqlite3>", "SQLite then opens the file for reading, and the answer is right"),
    ("[a-z]+ [a-z0-9]+ < <libsqlite3> < SqliteConnection::CanBeRead", "it is then read without files beside it"),
    ("(sync|write) [a-z0-9]+ < <libsqlite3> < SqliteConnection::~SqliteConnection", "what stands beside the database stays there"),
    ("(sync|write) [a-z0-9]+ < <libsqlite3> < SqliteConnection::Run < Takeover::Finish", "only space is not free yet"),
    ("name unlink < <libQt6Core> < RowPartition::RowPartition", "the next server removes what is left of the making"),
    ("socket eventfd < <libglib", "GLib uses pipes instead"),
    ("socket [a-z0-9_]+ < .*(HistoryFeed|LiveFeed)::", "it is tried again, and the file is whole"),
    ("socket sendmsg < SocketStream", "the client sees that its connection has ended"),
]

# Where a foreign library ends the program: what it says, and why nothing can be done about it.
FOREIGN = [
    ("GLib-ERROR .*: Creating pipes for GWakeup", "GLib's loop, with which each Qt program and each of its threads begins"),
]

SCENARIOS = [Start, Life, Leak, Away, TakeOver, Backup, Query, Picture, Table, Console, Large]
BEYOND = 2        # so many uses that do not come any more end a campaign: what threads do differs a little each time


def attempt(scenario, slot, **anomaly):
    """How often it struck, how many uses there were; what was wrong, if anything."""
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
    if not run: return 0, 0, wrong
    if run.crashed() and any(re.search(pattern, run.text()) for pattern, _ in FOREIGN): wrong = ""
    elif run.crashed(): wrong = f"it crashed: {run.crashed()}. {wrong}"
    if wrong: wrong += f"\n          at {run.where()}\n          it said: {run.text()[-1500:]}"
    return *run.strikes(), wrong


class Campaign:
    """One kind in one scenario: a line of the table."""
    def __init__(self, scenario, slots, kind):
        self.scenario, self.slots, self.kind = scenario, slots, kind
        self.name = type(scenario).__name__
        self.uses = self.runs = self.struck = self.findings = 0
        self.since, self.seconds, self.lock = time.time(), 0, threading.Lock()

    def play(self, n, lasting, slot):
        """Whether it struck."""
        strikes, _, wrong = attempt(self.scenario, slot, kind=self.kind, n=n, lasting=lasting)
        with self.lock: self.runs += 1; self.struck += strikes > 0; self.findings += bool(wrong); self.seconds = time.time() - self.since
        if wrong:
            again = f"./soak.sh --anomalies {'--asan ' if SANITIZER else ''}--scenario {self.name} --at {n} {'--lasting ' if lasting else ''}{self.kind}"
            print(f"   {self.name} {self.kind} {n}{' and on' if lasting else ''}: {wrong}\n          again: {again}", flush=True)
        return strikes > 0

    def play_all(self):
        _, self.uses, wrong = attempt(self.scenario, self.slots[0], kind=self.kind, n=0)
        check(not wrong, f"{self.name}, {self.kind}: {self.uses} uses, nothing fails" + (f": {wrong}" if wrong else ""))
        for lasting in (False, True) if self.scenario.once else (True,):
            self.numbers, self.missed = itertools.count(1), 0
            with ThreadPoolExecutor(len(self.slots)) as pool: list(pool.map(lambda slot: self.work(lasting, slot), self.slots))
        check(self.findings == 0, self.line())

    def work(self, lasting, slot):
        while self.missed < BEYOND:
            n = next(self.numbers)
            if n > self.scenario.most: return
            if not self.play(n, lasting, slot): self.missed += 1

    def line(self):
        return f"{self.name:9} {self.kind:11} {self.uses:5} uses {self.runs:6} runs {self.struck:6} struck {self.findings:4} findings {self.seconds:6.0f} s"


def options():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("kinds", nargs="*", metavar="KIND")
    arguments.add_argument("--scenario", action="append", choices=[made.__name__ for made in SCENARIOS])
    arguments.add_argument("--at", type=int, help="only this use fails")
    arguments.add_argument("--lasting", action="store_true", help="and all uses after it")
    arguments.add_argument("--slots", type=int, default=2, help="runs side by side")
    found = arguments.parse_args()
    if set(found.kinds) - set(KINDS): arguments.error("kinds are " + ", ".join(KINDS))
    if not os.path.exists(BIN + "/anomaly.so"): arguments.error(BIN + "/anomaly.so has not been built")
    return found


asked, table = options(), []
for made in SCENARIOS:
    kinds = [kind for kind in asked.kinds or made.kinds if kind in made.kinds and not (SANITIZER and kind == "allocation")]
    if not kinds or asked.scenario and made.__name__ not in asked.scenario: continue
    scenario, slots = made(), [Slot() for _ in range(1 if asked.at else asked.slots)]
    try:
        for slot in slots: scenario.prepare(slot); slot.keep()
        for kind in kinds:
            table.append(Campaign(scenario, slots, kind))
            if asked.at:
                table[-1].play(asked.at, asked.lasting, slots[0])
                check(table[-1].findings == 0, table[-1].line())
            else: table[-1].play_all()
    finally:
        for slot in slots: slot.close()
print("\n" + "\n".join(line.line() for line in table))
print(f"{sum(line.runs for line in table)} runs, {sum(line.struck for line in table)} struck, {sum(line.findings for line in table)} findings")
leave()
