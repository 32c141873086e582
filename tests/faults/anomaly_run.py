"""A program of which one operation fails, by the preloaded anomaly.so, and what is said of it."""
import bisect, json, re
from wire import *

PATIENCE = float(os.environ.get("VELSQL_PATIENCE", 10))        # seconds in which a program starts, answers or ends; more on a busy machine
SANITIZER = os.environ.get("VELSQL_SANITIZER", "")              # its library, which must be loaded before all others
KINDS = ("allocation", "write", "short", "sync", "name", "open", "socket", "thread")


class Symbols:
    """Names of a program's functions, by their addresses."""
    known = {}

    def __init__(self, path):
        lines = subprocess.run(["nm", "-C", "--defined-only", path], capture_output=True, text=True).stdout.splitlines()
        found = sorted((int(line.split(" ", 2)[0], 16), line.split(" ", 2)[2]) for line in lines if line.split(" ", 2)[1] in "tTwW")
        self.begins = [begin for begin, _ in found]; self.names = [name for _, name in found]

    @classmethod
    def at(cls, path, address):
        if path not in cls.known: cls.known[path] = cls(path)
        symbols = cls.known[path]
        i = bisect.bisect_right(symbols.begins, address) - 1
        return symbols.names[i] if i >= 0 else "?"


class Run:
    """`kind` and `n` say what fails; with n = 0 it is only counted. It counts while the folder holds the file "armed"."""
    def __init__(self, place, program, *args, kind="", n=0, lasting=False, armed=True, env=None):
        self.place, self.program, self.kind = place, program, kind
        self.report = place.d + "/anomaly.report"
        self.arm(armed)
        own = dict(env or place.env, TMPDIR=place.d + "/cache")
        if kind:
            place.run = self
            own |= dict(LD_PRELOAD=SANITIZER + " " + BIN + "/anomaly.so", ANOMALY_PROGRAM=program,
                        ANOMALY_KIND=kind, ANOMALY_AT=str(n), ANOMALY_WHILE=place.d + "/armed", ANOMALY_BELOW=place.d,
                        ANOMALY_REPORT=self.report)
            if lasting: own["ANOMALY_LASTING"] = "1"
        self.p = subprocess.Popen([BIN + "/" + program, *args], env=own, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE)
        self.said = []
        self.reader = threading.Thread(target=lambda: self.said.extend(self.p.stderr), daemon=True); self.reader.start()

    def arm(self, armed):
        path = self.place.d + "/armed"
        if armed: open(path, "w").close()
        elif os.path.exists(path): os.remove(path)

    def listens(self):
        """Whether it does, or has ended instead; raises TimeoutError for neither."""
        end = time.time() + PATIENCE
        while time.time() < end:
            try:
                with socket.socket(socket.AF_UNIX) as s: s.connect(self.place.sock)
                return True
            except OSError:
                if self.p.poll() is not None: return False
                time.sleep(0.01)
        raise TimeoutError("it neither listens nor ends")

    def end(self, how=signal.SIGTERM):
        """The exit code."""
        if how and self.p.poll() is None: self.p.send_signal(how)
        try: self.p.wait(PATIENCE)
        except subprocess.TimeoutExpired: raise TimeoutError("it does not end")
        self.reader.join(PATIENCE)
        return self.p.returncode

    def kill(self):
        if self.p.poll() is None: self.p.kill(); self.p.wait()

    def text(self): return b"".join(self.said).decode(errors="replace")

    def strikes(self):
        """How many; how many uses there were."""
        head = open(self.report).readline() if os.path.exists(self.report) else ""
        found = re.match(r"uses (\d+) strikes (\d+)", head)
        return (int(found[2]), int(found[1])) if found else (0, 0)

    def where(self):
        """The operation and the functions that led to it, the innermost first."""
        if not os.path.exists(self.report): return ""
        names = []
        for line in open(self.report, errors="replace").read().splitlines()[1:]:
            frame = re.match(r"(\S+?)\((\S*?)\+?(0x[0-9a-f]+)?\)", line)
            if not frame: names.append(line); continue
            if "anomaly.so" in frame[1] or "libasan" in frame[1]: continue
            if frame[1].startswith(BIN): names.append(Symbols.at(frame[1], int(frame[3], 16)).split("(")[0])
            elif not names[-1].startswith("<"): names.append("<" + os.path.basename(frame[1]).split(".so")[0] + ">")
        return " < ".join(name for name in names if name not in ("_start", "main", "<libc>"))

    def crashed(self):
        text = self.text()
        for sign in ("terminate called", "Assertion", "AddressSanitizer", "runtime error:", "LeakSanitizer", "SIGSEGV", "ASSERT"):
            if sign in text: return sign
        code = self.p.returncode
        return f"signal {-code}" if code is not None and code < 0 and code != -signal.SIGKILL else ""


class Slot(Place):
    """A folder that is made as it was again and again, at the same path."""
    def __init__(self):
        super().__init__("anomaly"); self.first = self.d + ".first"
        self.run = None      # the one in which something fails

    def keep(self):
        if os.path.exists(self.sock): os.remove(self.sock)      # of a server that was killed
        shutil.copytree(self.d, self.first, symlinks=True)

    def reset(self):
        shutil.rmtree(self.d); shutil.copytree(self.first, self.d, symlinks=True); self.run = None

    def script(self, text, patience=2 * PATIENCE):
        """The lines that it prints as values; of a script that fails at once, nothing. Recorded texts are SIZE long: a large
        one takes hundreds of writes, which need not fail one by one."""
        kind = self.run.kind if self.run else "allocation"
        text = text.replace("SIZE", "700000" if kind == "allocation" else "3000")
        r = subprocess.run([BIN + "/velsqlscript", "--attach", "-"], env=self.env, input=text, capture_output=True, text=True, timeout=patience)
        return [json.loads(line) for line in r.stdout.splitlines() if line.startswith("[")]

    def close(self):
        super().close(); shutil.rmtree(self.first, ignore_errors=True)
