"""A Modbus device that fails in many ways, again and again: afterwards every value is right, and soon.
usage: outages.py [OUTAGES]     (default: 1000)
"""
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
MODES = ["silent", "garbage", "half", "transaction", "unit", "short", "flipped", "late 0.3", "late 0.15"]
# Exceptions 1 to 4 blame registers, which are then left out for their time: these are no outage.
MODES += [f"exception {code}" for code in range(5, 12)]
SECONDS = 0.3 + 1.0  # retry_pause, and one more until values are there
ITEMS = 200


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


def script(text):
    return subprocess.run([BIN + "/velsqlscript", "--attach", "-"], input=text, capture_output=True, text=True, timeout=60)


def settle(wanted, number, value):
    """Waits until all values are as wanted, then writes one; what is wrong."""
    answer = script(f"""
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
}} while (bad && Date.now() - began < {int(SECONDS * 1000)});
if (bad) print("WRONG " + bad + "; " + Vlx.Execute("devices"));
""")
    return (answer.stdout + answer.stderr).strip()


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def main():
    random.seed(18)
    port, failures, wanted = free_port(), [], list(range(ITEMS))
    with tempfile.TemporaryDirectory() as folder:
        for name in ("XDG_RUNTIME_DIR", "XDG_STATE_HOME", "XDG_CONFIG_HOME"):
            os.environ[name] = folder
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
        peer = Peer(port)
        server = subprocess.Popen([BIN + "/velsqlserver", "--plant", plant, "--log-level", "error"])
        time.sleep(1)
        for outage in range(OUTAGES):
            mode = random.choice(MODES)
            peer.be(mode)
            time.sleep(random.uniform(0.02, 0.6))
            peer.be("right")
            number, value = random.randrange(ITEMS), random.randrange(65536)
            said = settle(wanted, number, value)
            if not said:
                wanted[number] = value
            else:
                failures.append(f"outage {outage} ({mode}): {said}")
                print(failures[-1], flush=True)
            if len(failures) > 20:
                break
        alive = server.poll() is None
        server.terminate()
        ended = server.wait(30)
        peer.end()
    print(f"{OUTAGES} outages, {len(failures)} after which values were wrong or late; the server ", end="")
    print("lived to the end" if alive and ended == 0 else "DID NOT LIVE")
    return 1 if failures or not alive or ended != 0 else 0


sys.exit(main())
