"""Clients that take more than their share: they hold up nobody else, and all together keep a bounded amount, given back afterwards."""
import multiprocessing
from wire import *

MB = 1024 * 1024
GET_VALUE = 0


def item_of(client, name, controller="PLC1", number=2):
    """The controller is question `number`, the item the one after it."""
    client.send(call(number, (1, [0]), ENG, 1, **name_arg(controller)) + call(number + 1, (number, [0]), CTL, 1, **name_arg(name)))
    client.q = number + 2
    return number + 1, [0]


def calls_without_pause(path, item, stop):
    client = Raw(path); target = item_of(client, item)
    threading.Thread(target=drain, args=(client.s,), daemon=True).start()
    first = 10
    while not stop.is_set():
        block = [call(q, target, ITM, GET_VALUE) for q in range(first, first + 200)]
        client.send(b"".join(block))
        time.sleep(0.0005)
        client.send(b"".join(finish(q) for q in range(first, first + 200)))
        first = 10 + (first + 190) % 1000000


def drain(socket_):
    try:
        while socket_.recv(1 << 20): pass
    except OSError: pass


def pings(pl, seconds=3):
    other = Raw(pl.sock, 30); worst = 0; end = time.time() + seconds
    while time.time() < end: worst = max(worst, other.ping()); time.sleep(0.002)
    return worst


def hogs(pl):
    for item in ("D100", "Picture"):
        for count in (1, 4):
            stop = multiprocessing.Event()
            workers = [multiprocessing.Process(target=calls_without_pause, args=(pl.sock, item, stop)) for _ in range(count)]
            for w in workers: w.start()
            time.sleep(0.5); worst = pings(pl); stop.set(); time.sleep(0.1)
            for w in workers: w.terminate(); w.join()
            check(worst < 0.1, "%d clients that read %s without pause: another's ping at most %.0f ms" % (count, item, worst * 1e3))


def half_sent(pl):
    part = bytes(1 * MB); clients = []
    for i in range(40):
        s = socket.socket(socket.AF_UNIX); s.connect(pl.sock); s.settimeout(5); clients.append(s)
        try:
            s.sendall(struct.pack("<II", 0, 60 * MB))
            for _ in range(60): s.sendall(part)
        except OSError: pass
    check_memory(pl, clients, "forty messages of 480 MB, 60 MB of each sent")


def sending(pl, blocks, timeout, item=None, reads=False):
    """The socket of a client that has sent what the server takes of the blocks."""
    c = Raw(pl.sock, timeout)
    if item: item_of(c, item)
    if reads: threading.Thread(target=drain, args=(c.s,), daemon=True).start()
    try:
        for block in blocks: c.send(block)
    except OSError: pass
    return c.s


def unread(pl):
    calls = b"".join(call(q, (3, [0]), ITM, GET_VALUE) for q in range(10, 3010))
    clients = [sending(pl, [calls], timeout=0.2, item="Picture") for i in range(100)]
    time.sleep(2)
    check_memory(pl, clients, "100 clients that read none of their 3000 pictures")


def unfinished(pl):
    blocks = [b"".join(call(q, (1, [0]), ENG, 6) for q in range(10 + b * 4000, 4010 + b * 4000)) for b in range(30)]
    clients = [sending(pl, blocks, timeout=20, reads=True) for i in range(12)]
    time.sleep(2)
    check_memory(pl, clients, "12 clients that never finish their 120,000 calls")


def slow_calls(pl):
    Raw(pl.sock).execute("disturb Item.get_Value slow 600000")
    calls = b"".join(call(q, (3, [0]), ITM, GET_VALUE) for q in range(10, 90010))
    clients = [sending(pl, [calls], timeout=1, item="D100") for i in range(8)]
    time.sleep(2)
    check_memory(pl, clients, "8 clients with 90,000 calls under way each")


def subscribers(pl):
    """Subscribers that never read, among them one that does: it misses nothing."""
    deaf = []
    for i in range(15):
        c = Raw(pl.sock, 5); deaf.append(c.s); c.send(subscribing())
        c.answer(3)
    reader = Raw(pl.sock, 60); reader.send(subscribing()); reader.answer(3)
    threading.Thread(target=lambda: Raw(pl.sock, 120).execute("fire PLC1 state 3 90000"), daemon=True).start()
    seen = 0
    while seen < 90000:
        try: m = read_message(reader.s)
        except (OSError, EOFError): break
        which, question = kind(m)
        if which == 2: seen += 1; reader.send(returned(question))
    check(seen >= 90000, "a subscriber that reads saw %d of 90000 events beside 15 that do not" % seen)
    check_memory(pl, deaf + [reader.s], "15 subscribers that do not read")


def subscribing():
    def fill(b, c): b.w[c] = 3
    return call(2, (1, [0]), ENG, 1, **name_arg("PLC1")) + call(3, (2, [0]), CTL, 18, fill=fill, size=(0, 1), caps=[(1, 7)])


def returned(question):
    b, p = message(3); s = b.struct(p, 2, 1); b.set(s, 0, 32, question); b.struct(s + 2, 0, 2); return b.pack()


def check_memory(pl, clients, what, most=1300, left=60):
    try: delay = Raw(pl.sock, 20).ping()
    except (OSError, EOFError): delay = 99
    held = pl.rss() // 1024
    for s in clients: s.close()
    end = time.time() + 10
    while time.time() < end and pl.rss() // 1024 > left: time.sleep(0.1)
    check(pl.p.poll() is None and held < most and pl.rss() // 1024 <= left and delay < 0.5,
          "%s: %d MB, a ping %.0f ms, peak %d MB, afterwards %d MB"
          % (what, held, delay * 1e3, status(pl.p.pid, "VmHWM") // 1024, pl.rss() // 1024))


if __name__ == "__main__":
    pl = Place("greedy")
    for stage in [globals()[n] for n in sys.argv[1:]] or (hogs, half_sent, unread, unfinished, slow_calls, subscribers):
        pl.start()
        try: stage(pl)
        except (OSError, EOFError) as e: check(False, "%s: %r" % (stage.__name__, e))
        pl.kill()
    pl.close()
    leave()
