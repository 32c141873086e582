"""A raw client of velsqlserver: hand-made messages, no library. Also helpers to start programs in private folders."""
import os, socket, struct, subprocess, sys, tempfile, time, signal, shutil, threading
BIN = os.environ.get("VELSQL_BIN") or os.path.abspath("build/release/bin")
LIB, ENG, CTL, ITM, HIS, RES = 0x8318dc4cc529a29d, 0xa829ac04a4fe5e24, 0xb62a544bb4ba9f1f, 0xfe9950f1e184d7cf, 0x82f0cd329370a3b1, 0xf3f957ab753f84fe


class B:
    """A message of one segment; words are python ints."""
    def __init__(self):
        self.w = [0]

    def alloc(self, n):
        at = len(self.w); self.w += [0] * n; return at

    def struct(self, ptrat, d, p):
        at = self.alloc(d + p)
        off = at - ptrat - 1
        self.w[ptrat] = ((off << 2) & 0xffffffff) | (d | p << 16) << 32
        return at

    def bytes(self, ptrat, b, size=2):
        n = (len(b) + 7) // 8
        at = self.alloc(n)
        b2 = b + bytes(n * 8 - len(b))
        for i in range(n):
            self.w[at + i] = struct.unpack_from("<Q", b2, i * 8)[0]
        self.w[ptrat] = (((at - ptrat - 1) << 2) & 0xffffffff) | 1 | (size | len(b) << 3) << 32

    def set(self, at, bit, width, v):
        m = (1 << width) - 1
        w = at + bit // 64; s = bit % 64
        self.w[w] = (self.w[w] & ~(m << s)) | (v & m) << s

    def pack(self):
        return struct.pack("<II", 0, len(self.w)) + struct.pack("<%dQ" % len(self.w), *[x & (1 << 64) - 1 for x in self.w])


def message(kind):
    b = B(); root = b.struct(0, 1, 1); b.set(root, 0, 16, kind); return b, root + 1


def bootstrap(q):
    b, p = message(8); s = b.struct(p, 1, 1); b.set(s, 0, 32, q); return b.pack()


def finish(q, release=True):
    b, p = message(4); s = b.struct(p, 1, 0); b.set(s, 0, 32, q); b.set(s, 32, 1, 0 if release else 1); return b.pack()


def call(q, target, iface, method, fill=None, size=(0, 0), caps=None):
    """target: int = imported capability, or (question, [pointer indexes])."""
    b, p = message(2)
    s = b.struct(p, 3, 3)
    b.set(s, 0, 32, q); b.set(s, 32, 16, method); b.set(s, 64, 64, iface)
    t = b.struct(s + 3, 1, 1)
    if isinstance(target, int):
        b.set(t, 0, 32, target); b.set(t, 32, 16, 0)
    else:
        b.set(t, 32, 16, 1)
        a = b.struct(t + 1, 1, 1); b.set(a, 0, 32, target[0])
        ops = target[1]
        at = b.alloc(1 + len(ops))
        b.w[a + 1] = (((at - a - 2) << 2) & 0xffffffff) | 1 | (7 | len(ops) << 3) << 32
        b.w[at] = (len(ops) << 2) | 1 << 32
        for i, f in enumerate(ops):
            b.w[at + 1 + i] = 1 | f << 16
    pay = b.struct(s + 4, 0, 2)
    c = b.struct(pay, *size)
    if fill:
        fill(b, c)
    if caps:      # list of CapDescriptor: (kind, id)
        at = b.alloc(1 + 2 * len(caps))
        b.w[pay + 1] = (((at - pay - 2) << 2) & 0xffffffff) | 1 | (7 | 2 * len(caps) << 3) << 32
        b.w[at] = (len(caps) << 2) | (1 | 1 << 16) << 32
        for i, (k, n) in enumerate(caps):
            b.w[at + 1 + 2 * i] = k | n << 32
    return b.pack()


def utf16(t):
    return t.encode("utf-16-le", "surrogatepass")


def text_arg(t):
    return dict(fill=lambda b, c: b.bytes(c, utf16(t)), size=(0, 1))


def name_arg(t):
    def fill(b, c):
        v = b.struct(c, 2, 1); b.set(v, 0, 16, 13); b.bytes(v + 2, utf16(t))
    return dict(fill=fill, size=(0, 1))


def recv_exact(s, n):
    d = b""
    while len(d) < n:
        x = s.recv(min(n - len(d), 1 << 20))
        if not x:
            raise EOFError
        d += x
    return d


def read_message(s):
    n = struct.unpack("<I", recv_exact(s, 4))[0] + 1
    head = recv_exact(s, 4 * (n if n % 2 else n + 1))
    sizes = struct.unpack_from("<%dI" % n, head)
    return struct.pack("<I", n - 1) + head + recv_exact(s, 8 * sum(sizes))


def kind(m):
    """(which, first u32 of the inner struct) of a one-segment message."""
    nseg = struct.unpack_from("<I", m)[0] + 1
    base = 4 + 4 * (nseg if nseg % 2 else nseg + 1)
    def follow(at):
        p = struct.unpack_from("<Q", m, base + 8 * at)[0]
        off = (p & 0xffffffff) >> 2
        if off & 1 << 29: off -= 1 << 30
        return at + 1 + off, p >> 32 & 0xffff
    r, d = follow(0)
    which = struct.unpack_from("<H", m, base + 8 * r)[0]
    i, d2 = follow(r + d)
    return which, struct.unpack_from("<I", m, base + 8 * i)[0] if d2 else 0


class Raw:
    """Bootstrap is question 0, the engine question 1."""
    def __init__(self, path, timeout=10):
        self.s = socket.socket(socket.AF_UNIX); self.s.settimeout(timeout); self.s.connect(path)
        self.q = 2
        self.s.sendall(bootstrap(0) + call(1, (0, []), LIB, 0))

    def send(self, b):
        self.s.sendall(b)

    def answer(self, q):
        """The Return message of question q; others are dropped."""
        while True:
            m = read_message(self.s)
            if kind(m) == (3, q):
                return m

    def ask(self, target, iface, method, **k):
        q = self.q; self.q += 1
        self.send(call(q, target, iface, method, **k))
        m = self.answer(q)
        self.send(finish(q))
        return m

    def ping(self):
        t = time.time(); self.ask((0, []), LIB, 1); return time.time() - t

    def execute(self, text):
        return self.ask((1, [0]), ENG, 5, **text_arg(text))

    def close(self):
        self.s.close()


class Place:
    """Private folders."""
    def __init__(self, tag="f"):
        self.d = tempfile.mkdtemp(prefix=f"velsql-{tag}-")
        for n in ("run", "state", "config", "cache"):
            os.makedirs(os.path.join(self.d, n), mode=0o700)
        self.env = dict(os.environ, XDG_RUNTIME_DIR=self.d + "/run", XDG_STATE_HOME=self.d + "/state", XDG_CONFIG_HOME=self.d + "/config",
                        XDG_CACHE_HOME=self.d + "/cache", QT_QPA_PLATFORM="offscreen", ASAN_OPTIONS="detect_leaks=0", UBSAN_OPTIONS="print_stacktrace=1")
        self.sock = self.d + "/run/velsql/server.sock"
        self.log = self.d + "/server.log"
        self.p = None

    def start(self, *args, pre=None, wait=15, env=None):
        with open(self.log, "ab") as log:
            self.p = subprocess.Popen([BIN + "/velsqlserver", *args], env=env or self.env, stdin=subprocess.DEVNULL, stdout=log, stderr=log, preexec_fn=pre)
        end = time.time() + wait
        while time.time() < end:
            try:
                s = socket.socket(socket.AF_UNIX); s.connect(self.sock); s.close(); return self.p
            except OSError:
                if self.p.poll() is not None:
                    raise RuntimeError("server ended: " + open(self.log, errors="replace").read()[-2000:])
                time.sleep(0.01)
        raise RuntimeError("server does not listen")

    def kill(self):
        if self.p and self.p.poll() is None:
            self.p.send_signal(signal.SIGCONT); self.p.kill(); self.p.wait()

    def rss(self, pid=None):
        return status(pid or self.p.pid, "VmRSS")

    def text(self):
        return open(self.log, errors="replace").read()

    def close(self, keep=False):
        self.kill()
        if not keep:
            shutil.rmtree(self.d, ignore_errors=True)


failed = False


def check(ok, text):
    """Says what was seen; a stage ends with leave()."""
    global failed
    failed = failed or not ok
    print(("   ok     " if ok else "   FAULT  ") + text, flush=True)


def leave():
    sys.exit(1 if failed else 0)


def status(pid, key):
    try:
        for l in open(f"/proc/{pid}/status"):
            if l.startswith(key + ":"):
                return int(l.split()[1])
    except OSError:
        return 0
    return 0


def fds(pid):
    try: return len(os.listdir(f"/proc/{pid}/fd"))
    except OSError: return -1
