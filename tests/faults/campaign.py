"""Clients that write values without a pause, and a look at what was recorded of them: nothing missing that was acknowledged
before the server ended, nothing twice, nothing out of order."""
import random
from wire import *

GRACE = 0            # seconds that a killed server may lose
CLIENTS = 4
WRITE = """
const item = Vlx.Controller("C").Item("N%d");
for (let value = %d; ; ++value) { item.Value = value; print(value + " " + Date.now()); }
"""
WAIT = 120           # seconds for the database to have everything


class Campaign:
    def __init__(self, connection, seed):
        """Without a connection: into an SQLite file."""
        self.chance = random.Random(seed)
        self.pl = Place("history")
        self.plant = self.pl.d + "/plant.toml"
        self.database = self.pl.d + "/recorded/history.db"
        self.parts = self.database + ".parts/velsql_history"
        connection = connection or f"Database={self.database}"
        items = "".join('[[controller.item]]\nname = "N%d"\ntype = "I4"\nhistory = true\n' % i for i in range(CLIENTS))
        with open(self.plant, "w") as f:
            f.write(f'[[history.destination]]\nconnection = "{connection}"\nmax_record = 0\n[[controller]]\nname = "C"\n{items}')
        self.next = [0] * CLIENTS                        # the value that each client writes next
        self.certain = [{} for _ in range(CLIENTS)]      # acknowledged early enough: how long before the end
        self.maybe = [set() for _ in range(CLIENTS)]     # sent, nothing more is known
        self.acknowledged = 0

    def start(self):
        for _ in range(5):
            try: return self.pl.start("--plant", self.plant)
            except RuntimeError as e: said = e
        raise said

    def write(self, seconds, action=None, kill=True):
        """Clients write for so long; then the server is killed, or they are."""
        writers = [subprocess.Popen([BIN + "/velsqlscript", "--attach", "-"], env=self.pl.env, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                    stderr=subprocess.DEVNULL, text=True) for _ in range(CLIENTS)]
        for i, w in enumerate(writers): w.stdin.write(WRITE % (i, self.next[i])); w.stdin.close()
        heard = [[] for _ in writers]
        readers = [threading.Thread(target=lambda w=w, h=h: h.extend(w.stdout), daemon=True) for w, h in zip(writers, heard)]
        for r in readers: r.start()
        time.sleep(0.25 + seconds)
        if action: action()
        if not kill:
            for w in writers: w.kill()
            time.sleep(0.4)
        end = time.time()
        if kill: self.pl.kill()
        for r in readers: r.join(20)
        for w in writers:
            if w.poll() is None: w.kill()
            w.wait()
        for i, lines in enumerate(heard):
            for line in lines:
                if not line.endswith("\n"): continue     # cut off
                value, at = line.split()
                age = end - float(at) / 1000
                if age > GRACE: self.certain[i][int(value)] = age
                else: self.maybe[i].add(int(value))
                self.next[i] = max(self.next[i], int(value) + 1)
                self.acknowledged += 1
            self.maybe[i].add(self.next[i])              # it may have arrived without an answer
            self.next[i] += 1

    def query(self, statement):
        r = subprocess.run([BIN + "/velsqlscript", "--attach", "--query", statement], env=self.pl.env, capture_output=True, text=True)
        return [line for line in r.stdout.splitlines()[1:]]

    def wait_until_written(self):
        """Nothing waits on disk any more."""
        spool = self.pl.d + "/state/velsql/spool"
        end = time.time() + WAIT
        time.sleep(0.5)
        while time.time() < end and any(name.endswith(".values") for _, _, names in os.walk(spool) for name in names): time.sleep(0.1)

    def compare(self, name, from_value=None):
        self.start(); self.wait_until_written()
        missing = twice = disordered = unknown = total = oldest = 0
        for i in range(CLIENTS):
            rows = self.query(f"SELECT item_value FROM velsql_history WHERE item_name = 'N{i}' ORDER BY item_time")
            values = [int(float(v)) for v in rows if v]
            total += len(values)
            seen = set(values)
            first = from_value[i] if from_value else 0
            lost = [age for value, age in self.certain[i].items() if value >= first and value not in seen]
            missing += len(lost); oldest = max(lost + [oldest])
            twice += len(values) - len(seen)
            disordered += sum(a > b for a, b in zip(values, values[1:]))
            unknown += len(seen - self.certain[i].keys() - self.maybe[i])
        self.pl.kill()
        check(missing + twice + disordered + unknown == 0 and total > 0,
              f"{name}: {self.acknowledged} acknowledged, {total} recorded: {missing} missing (at most {oldest:.2f} s old), {twice} twice, {disordered} out of order, "
              f"{unknown} that nobody wrote")

    def close(self): self.pl.close()
