"""Lets links to another machine die and hang, several side by side, and tells how soon they were back.

usage: links.py [FAULTS [LINKS]]     (soak.sh builds the program and says where it is: VELSQL_BIN)
Each link has a machine, a launcher and a console of its own; most of a fault is waiting.
"""

import os
import random
import re
import subprocess
import sys
import threading

FAULT = re.compile(
    r"\d+ (?P<name>.+), \d+ ms: link back after (?P<link>\d+) ms, windows (?P<windows>\d+) ms later, "
    r"bare ssh (?P<bare>\d+) ms, longest turn (?P<turn>\d+) ms")
FIGURES = {
    "link": lambda it: it["link"],
    "windows after it": lambda it: it["windows"],
    "both": lambda it: it["link"] + it["windows"],
    "a bare ssh": lambda it: it["bare"],
    "both, less a bare ssh": lambda it: max(0, it["link"] + it["windows"] - it["bare"]),
    "longest turn": lambda it: it["turn"],
}


class Link(threading.Thread):
    """Runs a part of the faults on one link."""

    def __init__(self, number, faults, seed):
        super().__init__()
        self.number, self.met, self.code = number, [], None
        self.environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", VELSQL_SOAK_FAULTS=str(faults),
                                VELSQL_SOAK_SEED=str(seed))

    def run(self):
        program = subprocess.Popen([os.environ["VELSQL_BIN"] + "/soak_links"], env=self.environment, text=True,
                                   errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        for line in program.stdout:
            if " info: " in line or line.startswith(("[-", "[=", "[ R", "This plugin", "QStandardPaths")):
                continue
            print(f"link {self.number}: {line.rstrip()}", flush=True)
            found = FAULT.match(line)
            if found:
                self.met.append({key: value if key == "name" else int(value)
                                 for key, value in found.groupdict().items()})
        self.code = program.wait()
        if self.code < 0:
            print(f"link {self.number}: the program was ended by signal {-self.code}", flush=True)


def tell(title, met):
    print(f"{title}, {len(met)} times, in ms: median, 90 %, 99 %, longest")
    for figure, of in FIGURES.items():
        values = sorted(map(of, met))
        parts = [values[min(len(values) - 1, int(len(values) * part))] for part in (0.5, 0.9, 0.99)]
        print(f"  {figure:22}" + "".join(f"{value:8}" for value in parts + values[-1:]))


def main(faults, count):
    seed = random.randrange(1, 2**31 - count)
    print(f"{faults} faults on {count} links, seeds from {seed}", flush=True)
    links = [Link(i + 1, -(-faults // count), seed + i) for i in range(count)]
    for link in links:
        link.start()
    for link in links:
        link.join()
    met = [it for link in links for it in link.met]
    for name in sorted({it["name"] for it in met}):
        tell(name, [it for it in met if it["name"] == name])
    if met:
        tell("all", met)
    bad = [link.number for link in links if link.code != 0]
    late = sum(FIGURES["both"](it) > 2000 for it in met)
    print(f"{len(met)} faults met, {late} of them with more than 2 s until the windows showed the server again, "
          f"{sum(FIGURES['both, less a bare ssh'](it) > 2000 for it in met)} when a bare ssh is taken off")
    print(f"links with a failure: {bad or 'none'}")
    return 1 if bad or len(met) < faults else 0


if __name__ == "__main__":
    sys.exit(main(int((sys.argv[1:] or [1000])[0]), int((sys.argv[2:] or [8])[0])))
