"""A PostgreSQL of a campaign's own."""
from wire import *


class Postgres:
    """A cluster of the campaign's own, reached over a socket in its folder, with a `port` at 127.0.0.1, too."""
    def __init__(self, port=0, options=()):
        self.port, self.options = port, options
        self.bin = sorted(os.scandir("/usr/lib/postgresql"), key=lambda e: int(e.name))[-1].path + "/bin/"
        self.d = tempfile.mkdtemp(prefix="velsql-pg-")
        self.as_user = ["setpriv", "--pdeathsig=INT"]
        if os.geteuid() == 0:
            shutil.chown(self.d, "postgres")
            self.as_user += ["--reuid=postgres", "--regid=postgres", "--clear-groups"]
        subprocess.run(self.as_user + [self.bin + "initdb", "--auth=trust", "--encoding=UTF8", "--no-sync", "--username=test", "-D",
                                       self.d + "/data"], check=True, stdout=subprocess.DEVNULL, cwd=self.d)
        self.start()
        self.ask("CREATE ROLE writer LOGIN"); self.ask("CREATE DATABASE plant OWNER writer")
        self.connection = f"Driver=PostgreSQL;Server={self.d};Database=plant;Uid=writer"

    def start(self):
        self.p = subprocess.Popen(self.as_user + [self.bin + "postgres", "-D", self.d + "/data", "-k", self.d, "-c", "max_connections=300", "-c",
                                                  "listen_addresses=" + ("127.0.0.1" if self.port else ""), "-p", str(self.port or 5432),
                                                  *self.options], cwd=self.d, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL)
        while subprocess.run([self.bin + "pg_isready", "-q", "-h", self.d, "-p", str(self.port or 5432)]).returncode != 0: time.sleep(0.05)

    def stop(self, how=signal.SIGINT):
        self.p.send_signal(how); self.p.wait()
        if how == signal.SIGKILL: time.sleep(1)          # its children follow

    def ask(self, statement, database="postgres"):
        r = subprocess.run([self.bin + "psql", "-h", self.d, "-p", str(self.port or 5432), "-U", "test", "-d", database, "-qAt", "-c", statement], capture_output=True,
                           text=True)
        if r.returncode != 0: raise RuntimeError(r.stderr)
        return r.stdout.strip()

    def close(self):
        self.stop(); shutil.rmtree(self.d, ignore_errors=True)
