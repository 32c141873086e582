"""What programs do with a server while their own operations fail."""
from anomaly_server import *


class Client(Start):
    """A program writes files from what a server answers: `arguments` with "OUT" for the file."""
    program, arguments, age = "", (), 0.5      # age: how old what is recorded becomes, in seconds

    def prepare(self, slot):
        super().prepare(slot)
        run = server(slot); run.listens()
        slot.script(COMMON); time.sleep(self.age); ended(run)

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
            expect(code == 0 or anomaly["n"], f"nothing fails, and it ends with {code}: {run.text()}")
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


PAST = ("--from", "-120 min", "--to", "-11 s")       # what is older than that is not waited for


class Picture(Client):
    """velsqltrend writes a picture."""
    program, arguments, age = "velsqltrend", (*PAST, "--png", "OUT", "C\\N", "picture.png"), 12

    def is_whole(self, content): return content.startswith(b"\x89PNG") and content[-8:-4] == b"IEND"


class Table(Client):
    """velsqltrend writes a table."""
    program, arguments, age = "velsqltrend", (*PAST, "--csv", "OUT", "C\\N", "values.csv"), 12

    def is_whole(self, content): return content.count(b"\n") >= 80


class Console(Start):
    """The console opens on a server, and is closed."""
    lives = 1.2     # for so many seconds

    def run(self, slot, **anomaly):
        owner, run = server(slot), None
        try:
            expect(owner.listens(), owner.text())
            run = Run(slot, "velsqltester", **anomaly)
            time.sleep(self.lives)
            code = run.end()
            expect(code == -signal.SIGTERM or (code == 1 and run.text().strip()), f"it ends with {code}: {run.text()}")
            run.p.returncode = max(code, 0)
            yield True      # what it says stands in its window
        finally:
            owner.kill()
            if run: run.kill()


class Large(Console):
    """The same on a plant of which the console needs large pieces of memory."""
    kinds, lives = ("allocation",), 5

    def prepare(self, slot): plant(slot, '[[controller.item]]\nname = "Item{0..599999}"\ntype = "I4"')
