"""Modbus devices that fail in many ways, again and again: afterwards every value is right, and soon. Several devices, each
with a server of its own, take their part of the outages side by side.
usage: outages.py [OUTAGES [DEVICES]]     (default: 1000 of 8)
"""
import concurrent.futures
import os
import pathlib
import random
import socket
import subprocess
import sys
import tempfile
import time

BIN = os.environ["VELSQL_BIN"]
PEER = pathlib.Path(__file__).parent.parent / "server" / "modbus_peer.py"
OUTAGES = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
DEVICES = min(OUTAGES, int(sys.argv[2]) if len(sys.argv) > 2 else 8)
MODES = ["silent", "garbage", "half", "transaction", "unit", "short", "flipped", "late 0.3", "late 0.15"]
# Exceptions 1 to 4 blame registers, which are then left out for their time: these are no outage.
MODES += [f"exception {code}" for code in range(5, 12)]
MODES.append("gone")  # and back as a new process, with the registers as they were first
SECONDS = 0.3 + 1.0  # retry_pause, and one more until values are there
LATE = 60.0          # on a machine that does much else values may be late, but never stay wrong
ITEMS = 200
FIRST = list(range(ITEMS))


class Peer:
    def __init__(self, port):
        self.port = port
        self.start()

    def start(self):
        self.process = subprocess.Popen(["/usr/bin/python3", PEER, "tcp", str(self.port)], text=True, bufsize=1,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        assert self.process.stdout.readline() == "serves\n"

    def be(self, mode):
        self.process.stdin.write(mode + "\n")
        assert self.process.stdout.readline() == mode + "\n"

    def end(self):
        self.process.kill()
        self.process.wait()


class Server:
    def __init__(self, folder, port):
        self.environment = dict(os.environ, XDG_RUNTIME_DIR=folder, XDG_STATE_HOME=folder, XDG_CONFIG_HOME=folder)
        plant = folder + "/plant.toml"
        with open(plant, "w", encoding="utf-8") as file:
            file.write(f"""[[device]]
name = "D"
protocol = "modbus-tcp"
host = "127.0.0.1"
port = {port}
timeout = 0.2
retries = 0
retry_pause = 0.3
write = true
[[controller]]
name = "C"
device = "D"
item = [ {{ name = "R{{0..{ITEMS - 1}}}", type = "UI2", variable = "holding:{{n}}" }} ]
""")
        self.process = subprocess.Popen([BIN + "/velsqlserver", "--plant", plant, "--log-level", "error"], env=self.environment)
        time.sleep(2)

    def settle(self, wanted, number, value):
        """Waits until all values are as wanted, then writes one: the seconds that took, and what is wrong."""
        answer = subprocess.run([BIN + "/velsqlscript", "--attach", "-"], input=f"""
const c = Vlx.Controller("C"), wanted = {wanted}, began = Date.now();
function wrong() {{
    if (c.State !== 1) return "state " + c.State;
    for (let i = 0; i < wanted.length; ++i) {{
        const item = c.Item("R" + i);
        if (item.State !== 0 || item.Value !== wanted[i]) return "R" + i + ": " + item.Value + ", state " + item.State;
    }}
    return "";
}}
// A writing that met the outage is refused with a reason, and tried again.
let bad = "";
do {{
    if (bad) sleep(20);
    bad = wrong();
    if (bad) continue;
    try {{ c.Item("R{number}").Value = {value}; }} catch (error) {{ bad = String(error); }}
}} while (bad && Date.now() - began < {int(LATE * 1000)});
print((Date.now() - began) / 1000 + " " + (bad ? bad + "; " + Vlx.Execute("devices") : ""));
""", env=self.environment, capture_output=True, text=True, timeout=120)
        took, _, bad = answer.stdout.strip().partition(" ")
        return (float(took), bad) if answer.returncode == 0 else (0.0, answer.stdout + answer.stderr)

    def ended_well(self):
        alive = self.process.poll() is None
        self.process.terminate()
        return alive and self.process.wait(30) == 0


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def trouble(device, outages):
    """Has a device fail so many times; the seconds until the values were right each time, and what stayed wrong."""
    chance, port, wanted, times, wrong = random.Random(device), free_port(), FIRST, [], []
    with tempfile.TemporaryDirectory() as folder:
        peer = Peer(port)
        server = Server(folder, port)
        while len(times) < outages and len(wrong) < 5:
            mode = chance.choice(MODES)
            peer.end() if mode == "gone" else peer.be(mode)
            time.sleep(chance.uniform(0.02, 0.6))
            if mode == "gone":
                peer.start()
                wanted = FIRST
            else:
                peer.be("right")
            number, value = chance.randrange(ITEMS), chance.randrange(65536)
            took, bad = server.settle(wanted, number, value)
            times.append(took)
            if bad:
                wrong.append(f"{mode}: {bad}")
                print(wrong[-1], flush=True)
            else:
                wanted = wanted[:number] + [value] + wanted[number + 1:]
        if not server.ended_well():
            wrong.append("the server has not lived to the end")
        peer.end()
    return times, wrong


def main():
    shares = [OUTAGES // DEVICES + (1 if device < OUTAGES % DEVICES else 0) for device in range(DEVICES)]
    with concurrent.futures.ThreadPoolExecutor(DEVICES) as pool:
        results = list(pool.map(trouble, range(DEVICES), shares))
    times = sorted(took for each, _ in results for took in each)
    wrong = [what for _, each in results for what in each]
    late = sum(took > SECONDS for took in times)
    print(f"{len(times)} outages of {DEVICES} devices: {len(wrong)} with wrong values or a lost server; right again after "
          f"{times[len(times) // 2]:.2f} s (half of them), {times[-1]:.2f} s (all); {late} later than {SECONDS} s")
    print("\n".join(wrong))
    return 1 if wrong or late > len(times) // 100 else 0


sys.exit(main())
