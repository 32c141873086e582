"""Clients that start while an idle server ends get a server, the old one or a new one."""
import random
from wire import *

ROUNDS = int(sys.argv[1]) if len(sys.argv) > 1 else 40
chance = random.Random(9); seen = {}
pl = Place("ending")
for r in range(ROUNDS):
    p = pl.start("--stop-when-idle", "1")
    s = Raw(pl.sock); s.ping(); s.close()
    time.sleep(0.8 + chance.uniform(0, 0.25))
    q = subprocess.run([BIN + "/velsqlscript", "-"], input="print(Vlx.ControllerNames.length)", env=pl.env, capture_output=True, text=True,
                       timeout=40)
    outcome = (q.returncode, q.stdout.strip(), q.stderr.strip()[:150]); seen[outcome] = seen.get(outcome, 0) + 1
    try: Raw(pl.sock).execute("terminate")     # whichever server it is now
    except (OSError, EOFError): pass
    p.wait(10)
    while os.path.exists(pl.sock): time.sleep(0.01)
for outcome, n in seen.items(): check(outcome[0] == 0, "%d of %d: %r" % (n, ROUNDS, outcome))
pl.close()
leave()
