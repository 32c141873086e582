"""A campaign whose server keeps records for a day, under a clock that is set."""
import glob
from campaign import *

FAKE = glob.glob("/usr/lib/*/faketime/libfaketimeMT.so.1")[0]
HOUR, DAY, YEAR = 3600, 86400, 365 * 86400
AUTUMN = 1729990800  # 2024-10-27 01:00 UTC, when clocks in Berlin are set back from 3:00 to 2:00


class Clocked(Campaign):
    def __init__(self, connection=""):
        super().__init__(connection, 1)
        plant = open(self.plant).read().replace("max_record = 0", 'keep = "1 day"')
        open(self.plant, "w").write(plant)
        self.pl.env.update(TZ="Europe/Berlin")
        self.server_env = dict(self.pl.env, LD_PRELOAD=FAKE, FAKETIME_TIMESTAMP_FILE=self.pl.d + "/clock", DONT_FAKE_MONOTONIC="1",
                               FAKETIME_NO_CACHE="1")

    def set(self, time_shown):
        with open(self.pl.d + "/clock.new", "w") as f: f.write(f"{time_shown - time.time():+.0f}\n")
        os.rename(self.pl.d + "/clock.new", self.pl.d + "/clock")

    def start_at(self, time_shown):
        self.set(time_shown); self.pl.start("--plant", self.plant, env=self.server_env)

    def record(self, seconds=0.5): self.write(seconds, kill=False); time.sleep(0.5)

    def stop(self): self.pl.p.terminate(); self.pl.p.wait()

    def oldest(self, begin):
        """How many hours after `begin`."""
        return round((int(self.query("SELECT CAST(min(item_utc) AS TEXT) FROM velsql_values")[0]) / 1e6 - begin) / HOUR)
