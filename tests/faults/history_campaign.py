"""Kills the server at random moments while clients write, and takes its database away in every way; then compares what
clients saw acknowledged with what was recorded: nothing missing, nothing twice, nothing out of order.

usage: history_campaign.py [--kills N] [--database sqlite|postgres]... [--seed N]
                                                    (default: 1000 kills, shared by both; at other moments each time)
"""
import argparse
import random
from campaign import *
from postgres import Postgres

def kill_often(c, kills):
    for n in range(kills):
        c.start()
        c.write(c.chance.uniform(0, 0.6))
        if n % 100 == 99: print(f"   {n + 1} kills, {c.acknowledged} values acknowledged", flush=True)


def sqlite(kills, seed):
    c = Campaign("", seed)
    kill_often(c, kills)
    c.compare(f"SQLite, {kills} kills"); c.close()


def postgres(kills, seed):
    pg = Postgres()
    c = Campaign(pg.connection, seed)
    kill_often(c, kills)
    c.compare(f"PostgreSQL, {kills} kills")

    def stopped(how):
        c.start(); c.write(1, kill=False)
        pg.stop(how)
        for _ in range(5): c.write(0.5); c.start()
        pg.start(); c.write(2, kill=False); c.pl.kill()
    stopped(signal.SIGINT); c.compare("the database stopped, the server killed five times meanwhile")
    stopped(signal.SIGKILL); c.compare("the database killed in its transactions")

    cut = "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'writer'"
    c.start()
    for _ in range(20): c.write(0.3, lambda: pg.ask(cut), kill=False)
    c.pl.kill(); c.compare("connections cut 20 times")

    c.start(); c.write(1, kill=False)
    pg.ask("ALTER ROLE writer NOLOGIN; " + cut); c.write(2, kill=False)
    check("is not permitted to log in" in c.pl.text(), "the log says that the writer may not log in")
    pg.ask("ALTER ROLE writer LOGIN"); c.write(2, kill=False); c.pl.kill(); c.compare("permission taken and given back")

    c.start(); c.write(1, kill=False)
    pg.ask("ALTER TABLE velsql_rows DROP COLUMN item_state CASCADE", "plant"); c.write(2, kill=False)
    check("item_state" in c.pl.text(), "the log names the missing column")
    pg.ask("ALTER TABLE velsql_rows ADD COLUMN item_state integer DEFAULT 0; ALTER TABLE velsql_rows ALTER item_state DROP DEFAULT", "plant")
    c.write(3, kill=False); c.pl.kill(); c.compare("a column missing and put back")

    c.start(); c.write(1, kill=False); time.sleep(1)
    before = list(c.next)
    pg.ask("DROP TABLE velsql_rows CASCADE", "plant"); c.write(2, kill=False); c.pl.kill()
    c.compare("the table dropped: what came afterwards", before)
    c.close(); pg.close()


arguments = argparse.ArgumentParser(description=__doc__)
arguments.add_argument("--kills", type=int, default=1000)
arguments.add_argument("--database", action="append", choices=("sqlite", "postgres"))
arguments.add_argument("--seed", type=int, default=random.randrange(1_000_000))
options = arguments.parse_args()
databases = options.database or ["sqlite", "postgres"]
print(f"--seed {options.seed}", flush=True)
for database in databases: globals()[database](options.kills // len(databases), options.seed)
leave()
