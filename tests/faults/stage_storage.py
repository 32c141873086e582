"""What a history in SQLite lives on fails while values are recorded: full disks, files that are deleted, moved, replaced,
locked, damaged or not to be written. The log says so, recording goes on, and nothing is lost that was acknowledged.

usage: stage_storage.py [CASE...]"""
import os, sys
if "VELSQL_MOUNTS" not in os.environ:      # disks of our own, that nobody else sees
    own = ["unshare", "--mount"] + ([] if os.geteuid() == 0 else ["--map-root-user"])
    os.execvpe(own[0], own + [sys.executable, *sys.argv], dict(os.environ, VELSQL_MOUNTS="1"))
import glob
from campaign import *

GONE = " has been deleted, moved or replaced"
WRITTEN = "Values are written again; 0 were dropped meanwhile."


class Disk:
    def __init__(self, path, megabytes):
        os.makedirs(path, mode=0o700, exist_ok=True)
        self.path = path
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={megabytes}m,mode=700", "none", path], check=True)

    def fill(self, pages_left=0):
        disk = os.statvfs(self.path)
        with open(self.path + "/ballast", "wb") as f: os.posix_fallocate(f.fileno(), 0, (disk.f_bavail - pages_left) * disk.f_frsize)

    def free(self): os.remove(self.path + "/ballast")

    def access(self, how): subprocess.run(["mount", "-o", "remount," + how, self.path], check=True)

    def close(self): subprocess.run(["umount", "-l", self.path], check=True)


class Case(Campaign):
    def __init__(self):
        super().__init__("", 1)
        self.data = Disk(self.pl.d + "/recorded", 60)
        self.spool = Disk(self.pl.d + "/state/velsql/spool", 60)

    def newest(self): return sorted(glob.glob(self.parts + "/*.db"))[-1]

    def wait_until_there(self):
        while not glob.glob(self.parts + "/*.db"): time.sleep(0.02)

    def run(self, seconds): self.write(seconds, kill=False)

    def here(self): return list(self.next)

    def stop(self): self.pl.p.terminate(); self.pl.p.wait()

    def replace(self, path, text):
        """By a text; without one by a database of another program."""
        if text: open(path + "x", "w").write(text)
        else: subprocess.run(["sqlite3", path + "x", "CREATE TABLE a (b); PRAGMA user_version = 1"], check=True)
        os.rename(path + "x", path)

    def end(self):
        self.data.close(); self.spool.close(); self.close()


def scribble(path, begin, end):
    with open(path, "r+b") as f:
        f.seek(begin)
        while f.tell() < end: f.write(b"This is no page of a database. ")


class Held:
    """Another program that has locked a database."""
    def __init__(self, path):
        self.p = subprocess.Popen(["sqlite3", path], stdin=subprocess.PIPE, text=True)
        self.p.stdin.write("BEGIN EXCLUSIVE;\n"); self.p.stdin.flush()

    def let_go(self): self.p.stdin.close(); self.p.wait()


# Each case returns the words that the log must hold, each once; and where not all values can be there, from which of
# each client on they are.

def database_disk_full(c):
    c.run(1); c.data.fill(); c.run(3); c.data.free(); c.run(2)
    return ["Values wait: database or disk is full", WRITTEN], None

def statements_while_the_disk_is_full(c):
    c.run(1); c.stop(); os.rename(c.newest(), c.parts + "/0999999.db"); c.start(); c.run(1)     # a partition that nobody has open
    count = "SELECT count(*) FROM velsql_history"
    before = int(c.query(count)[0]); c.data.fill()
    check(int(c.query(count)[0]) == before, f"{before} records are found while nothing waits")
    c.run(2)
    check(int(c.query(count)[0]) >= before, "and while values wait")
    check(c.query("SELECT sum(value_count) >= %d FROM velsql_minutes" % before) == ["1"], "and their minutes")
    c.data.free(); c.run(2)
    return ["Values wait: database or disk is full", WRITTEN], None

def database_disk_full_and_killed(c):
    c.run(1); c.data.fill(); c.write(2); c.start(); c.write(1); c.data.free(); c.start(); c.run(1)
    check(c.pl.text().count("Values wait: database or disk is full") == 2, "each server says why")
    return [], None

def disk_full_from_the_beginning(c):
    c.stop(); c.data.close(); c.data = Disk(c.pl.d + "/recorded", 60); c.data.fill(); c.start(); c.run(3)
    c.data.free(); c.data.fill(2); c.run(4); c.data.free(); c.run(2)
    check(not glob.glob(c.parts + "/*.new-*"), "nothing is left of partitions that had no room")
    return [WRITTEN], None

def spool_disk_full(c):
    c.run(1); c.spool.fill(); c.run(2); c.spool.free(); c.run(1)
    return [], None

def both_disks_full(c):
    c.run(1); c.spool.fill(); c.data.fill(); c.run(4); c.data.free(); c.run(1); c.spool.free(); c.run(2)
    return ["Values wait: database or disk is full", "only in memory", WRITTEN], None

def database_deleted(c):
    c.run(1); os.remove(c.database); c.run(2)
    return [c.database + GONE], None

def database_becomes_a_text(c):
    c.run(1); c.replace(c.database, "hello\n" * 1000); c.run(2)
    return ["is damaged and was set aside as " + c.database + ".damaged-"], None

def database_becomes_a_foreign_one(c):
    c.run(1); c.replace(c.database, None); c.run(2)
    return [c.database + GONE], None

def partition_moved_and_put_back(c):
    c.run(1); n = c.newest(); away = c.data.path + "/away.db"; os.rename(n, away); c.run(2); c.stop()
    os.rename(away, c.parts + "/0999999.db"); c.start()
    return [n + GONE], None

def partition_deleted(c):
    c.run(1); n = c.newest(); before = c.here(); os.remove(n); c.run(2)
    return [n + GONE], before

def partition_becomes_a_text(c):
    c.run(1); n = c.newest(); before = c.here(); c.replace(n, "hello\n" * 1000); c.run(2)
    return ["is damaged and was set aside as " + n + ".damaged-"], before

def partition_becomes_a_foreign_one(c):
    c.run(1); n = c.newest(); before = c.here(); c.replace(n, None); c.run(2)
    return ["is damaged and was set aside as " + n + ".damaged-"], before

def catalogue_damaged(c):
    c.run(1); c.stop(); before = c.here(); scribble(c.newest(), 0, 8192); c.start(); c.run(2)
    return ["is damaged and was set aside as"], before

def rows_damaged(c):
    for _ in range(3): c.run(2)
    c.stop(); n = c.newest(); before = c.here(); scribble(n, 3 * 4096, os.path.getsize(n)); c.start(); c.run(1)
    for _ in range(3): c.query("SELECT sum(item_value) FROM velsql_history")
    c.run(1)
    return ["is damaged and was set aside as"], before

def partition_locked(c):
    c.run(1); held = Held(c.newest()); c.run(12); held.let_go(); c.run(2)
    return ["Values wait: database is locked", WRITTEN], None

def database_locked(c):
    c.run(1); held = Held(c.database); c.run(2); c.stop(); c.start(); c.run(2)
    check(len(c.query("SELECT 1 FROM velsql_history LIMIT 1")) == 1, "statements are answered meanwhile")
    held.let_go(); c.run(1)
    return [], None

def not_to_be_written(c):
    c.run(1); c.stop(); c.data.access("ro"); c.start(); c.run(2); c.data.access("rw"); c.run(2)
    return ["Read-only file system", WRITTEN], None

def spool_deleted(c):
    c.run(1); held = Held(c.newest()); c.run(2); before = c.here()
    for path in glob.glob(c.spool.path + "/*"): shutil.rmtree(path)
    c.write(2); held.let_go(); c.start(); c.run(1)
    return ["has been deleted."], before

def spool_damaged(c):
    held = Held(c.newest()); c.run(3); c.pl.kill(); before = c.here()
    scribble(glob.glob(c.spool.path + "/*/*.values")[0], 1000, 5000); held.let_go(); c.start(); c.run(2)
    return ["that waited on disk are damaged and left out", "their file is set aside as"], before


CASES = [database_disk_full, statements_while_the_disk_is_full, database_disk_full_and_killed,
         disk_full_from_the_beginning, spool_disk_full, both_disks_full, database_deleted, database_becomes_a_text,
         database_becomes_a_foreign_one, database_locked, partition_moved_and_put_back, partition_deleted,
         partition_becomes_a_text, partition_becomes_a_foreign_one, catalogue_damaged, rows_damaged,
         partition_locked, not_to_be_written, spool_deleted, spool_damaged]
for case in CASES:
    if len(sys.argv) > 1 and case.__name__ not in sys.argv: continue
    c = Case(); c.start(); c.wait_until_there()
    words, before = case(c)
    name = case.__name__.replace("_", " ")
    text = c.pl.text()
    for w in words: check(text.count(w) == 1, f"{name}: {text.count(w)} times in the log: {w}")
    c.pl.kill(); c.compare(name, before)
    if failed or "-v" in sys.argv: print(text, flush=True)
    c.end()
leave()
