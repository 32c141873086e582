"""Brokers that speak garbage, fall silent, go in the middle of a message or send what no broker sends: the server stays
up, says each trouble, and has the right values as soon as a broker is one again. Then a real broker that goes and comes
ROUNDS times, at random moments, while messages keep coming."""
import random
from wire import *

ROUNDS = int(sys.argv[1]) if len(sys.argv) > 1 else 40
chance = random.Random(4)


def free_port():
    s = socket.socket(); s.bind(("127.0.0.1", 0)); port = s.getsockname()[1]; s.close(); return port


def packet(kind, body):
    n, size = len(body), b""
    while True:
        size += bytes([n % 128 | (128 if n > 127 else 0)]); n //= 128
        if not n: return bytes([kind]) + size + body


def told(topic, payload, qos=0, id=1):
    return packet(0x30 | qos << 1, struct.pack(">H", len(topic)) + topic + (struct.pack(">H", id) if qos else b"") + payload)


def read_packet(c):
    kind = recv_exact(c, 1)[0]; n = shift = 0
    while True:
        b = recv_exact(c, 1)[0]; n |= (b & 127) << shift; shift += 7
        if b < 128: return kind, recv_exact(c, n)


def accept(c, code=0):
    read_packet(c); c.sendall(packet(0x20, bytes([0, code])))


def subscribed(c):
    """Accepts the client and what it subscribes."""
    accept(c)
    kind, body = read_packet(c); n = at = 0; at = 2
    while at < len(body): at += struct.unpack_from(">H", body, at)[0] + 3; n += 1
    c.sendall(packet(0x90, body[:2] + bytes(n)))


def right(c):
    subscribed(c); c.sendall(told(b"t", b"%d" % value) + told(b"j", b'{"a":%d}' % value))
    c.settimeout(0.05)
    while not turns:
        try:
            if not c.recv(4096): return
        except TimeoutError: pass


def then(*parts):
    def act(c):
        subscribed(c)
        for p in parts: c.sendall(p); time.sleep(0.05)
    return act


def refuse(code): return lambda c: accept(c, code)
def silent(c): time.sleep(1.5)
def half(c): subscribed(c); c.sendall(told(b"t", b"12345")[:6])
def trickle(c):
    subscribed(c)
    for b in told(b"t", b"77"): c.sendall(bytes([b])); time.sleep(0.01)
def reset(c): subscribed(c); c.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
def pubacks(c): then(*[packet(0x40, struct.pack(">H", i)) for i in (0, 1, 65535)])(c)


acts = {"closes": lambda c: None, "garbage": lambda c: c.sendall(os.urandom(4000)), "http": lambda c: c.sendall(b"HTTP/1.1 400\r\n\r\n"),
        "silent": silent, "reset": reset, "half a message": half, "byte by byte": trickle, "answers nobody asked for": pubacks,
        **{"refuses %d" % n: refuse(n) for n in (1, 2, 4, 5, 200)},
        "endless length": then(b"\x30\xff\xff\xff\xff\xff"), "256 MB announced": then(b"\x30\xff\xff\xff\x7f" + b"x" * 1000),
        "topic beyond the message": then(packet(0x30, b"\xff\xfft")), "topic no UTF-8": then(told(b"\xff\xfe", b"1")),
        "topic with wildcards": then(told(b"t/#", b"1")), "no topic": then(told(b"", b"1")), "QoS 3": then(told(b"t", b"1", 3)),
        "unknown topics": then(*[told(b"x/%d" % i, b"1") for i in range(50)]), "too many grants": then(packet(0x90, b"\0\1" + bytes(500))),
        "values that are none": then(told(b"t", b""), told(b"t", b"\xff\0"), told(b"t", b"[" * 100000), told(b"t", b"x" * 1_000_000),
                                     told(b"j", b"[" * 1_000_000), told(b"j", b'{"a":' * 50_000), told(b"j", b'{"a":1e999}'), told(b"j", b"\xff")),
        "20 MB": then(told(b"t", b"1" * 20_000_000)), "retained, twice, QoS 2": then(packet(0x35, b"\0\1t\0\1" + b"5") * 2, packet(0x62, b"\0\1") * 2)}

PLANT = """[[device]]
name = "B"
protocol = "mqtt"
host = "127.0.0.1"
port = %d
keepalive = 5
timeout = 0.5
retry_pause = 0.1
[[controller]]
name = "C"
device = "B"
item = [ { name = "T", type = "R8", variable = "t", option = "qos=1" }, { name = "J", type = "I4", variable = "j", option = "/a" },
         { name = "V", variable = "t" }, { name = "Out", variable = "out" } ]
[[publish]]
device = "B"
"""


def script(pl, text):
    q = subprocess.run([BIN + "/velsqlscript", "--attach", "-"], input=text, env=pl.env, capture_output=True, text=True, timeout=30)
    return (q.stdout + q.stderr).strip()


SHOW = 'const c = Vlx.Controller("C"), i = n => c.Item(n).Value + "/" + c.Item(n).State; print(c.State, i("T"), i("J"))'
PUT = 'try { Vlx.Controller("C").Item("Out").Value = 1; print("done") } catch (e) { print(e.message) }'


def becomes(pl, wanted, seconds):
    end = time.time() + seconds
    while time.time() < end:
        seen = script(pl, SHOW)
        if seen == wanted: return True
        time.sleep(0.1)
    print("          " + seen); return False


pl = Place("brokers"); port = free_port()
plant = pl.d + "/plant.toml"; open(plant, "w").write(PLANT % port)
listener = socket.socket(); listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
listener.bind(("127.0.0.1", port)); listener.listen(50)
turns, value = [], 0


def serve():
    while True:
        try: c, _ = listener.accept()
        except OSError: return
        c.settimeout(10)
        try: (turns.pop(0) if turns else right)(c)
        except (OSError, EOFError): pass
        try: c.close()
        except OSError: pass


threading.Thread(target=serve, daemon=True).start()
p = pl.start("--plant", plant)
rss = pl.rss()
for name, act in acts.items():
    value += 1
    turns += [act, act]
    ok = becomes(pl, "1 %d/0 %d/0" % (value, value), 15)
    check(ok and p.poll() is None, "%-26s then right again: %s" % (name, ok))
check(pl.rss() < rss + 200_000, "memory %d -> %d MB" % (rss / 1024, pl.rss() / 1024))
lines = pl.text().count("\n")
check(lines < 40 * len(acts), "%d lines in the log" % lines)
pl.kill(); listener.close()

# A real one.
port = free_port(); open(plant, "w").write(PLANT % port); open(pl.d + "/broker.conf", "w").write(
    "listener %d 127.0.0.1\nallow_anonymous true\nuser root\npersistence false\n" % port)
env = dict(pl.env, PATH=pl.env["PATH"] + ":/usr/sbin")


def broker():
    b = subprocess.Popen(["mosquitto", "-c", pl.d + "/broker.conf"], env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while True:
        try: socket.create_connection(("127.0.0.1", port)).close(); return b
        except OSError: time.sleep(0.02)


def publish(topic, text):
    return subprocess.run(["mosquitto_pub", "-p", str(port), "-q", "1", "-r", "-t", topic, "-m", text], env=env, capture_output=True).returncode == 0


b = broker(); p = pl.start("--plant", plant); wrong = late = 0; longest = 0.0
for r in range(1, ROUNDS + 1):
    how = chance.choice((signal.SIGTERM, signal.SIGKILL, signal.SIGSTOP))
    time.sleep(chance.uniform(0, 0.4)); b.send_signal(how)
    answer = script(pl, PUT) if how != signal.SIGSTOP or chance.random() < 0.5 else ""
    if "reached" not in answer and "acknowledged" not in answer and answer not in ("", "done"): wrong += 1; print("          " + answer)
    time.sleep(chance.uniform(0, 0.6))
    b.kill(); b.wait(); b = broker(); back = time.time()
    publish("t", str(r)); publish("j", '{"a":%d}' % r)
    if not becomes(pl, "1 %d/0 %d/0" % (r, r), 10): wrong += 1
    longest = max(longest, time.time() - back)
check(wrong == 0, "%d outages: %d wrong, the values were right after %.1f s at the latest" % (ROUNDS, wrong, longest))
check(p.poll() is None and Raw(pl.sock).ping() < 1, "the server answers")
p.send_signal(signal.SIGTERM); check(p.wait(10) == 0, "and ends when told")
b.kill(); pl.close()
leave()
