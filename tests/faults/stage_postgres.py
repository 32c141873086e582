"""What may happen to a PostgreSQL while a server records into it, and the ways to reach one: the log says once what is
wrong, values wait, and recording goes on by itself without losing any; what is no longer kept goes.

usage: stage_postgres.py [reached|suffered|kept]...   (default: all)
"""
from postgres import Postgres
from wire import *

WAITS, AGAIN = "Values wait: ", "Values are written again; 0 were dropped meanwhile."
WHOLE = ("SELECT count(*) || ' ' || sum(CASE WHEN n <> hi - lo + 1 THEN 1 ELSE 0 END) FROM (SELECT count(*) AS n, min(item_value::int) AS lo, "
         "max(item_value::int) AS hi FROM velsql_history WHERE controller_name = 'C' GROUP BY item_name) AS i")
LAST = "SELECT max(item_value::int) FROM velsql_history WHERE controller_name = 'C'"


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0)); return s.getsockname()[1]


def recording(connection, more="", home=None):
    """A place whose server, with this home folder, has begun to record 2000 values a second."""
    pl = Place("pg")
    with open(pl.d + "/plant.toml", "w") as f:
        f.write(f"""[[history.destination]]
connection = "{connection}"
{more}
[[controller]]
name = "C"
scan_times = [50, 0, 0]
[[controller.item]]
name = "N_{{0..99}}"
type = "I4"
history = true
signal = {{ form = "counter" }}
""")
    pl.start("--plant", pl.d + "/plant.toml", env=dict(pl.env, HOME=home or pl.d))
    subprocess.run([BIN + "/velsqlscript", "--attach", "-"], env=pl.env, input="Vlx.Start()", text=True)
    return pl


def becomes(what, seconds=30):
    end = time.time() + seconds
    while time.time() < end:
        try:
            if what(): return True
        except (RuntimeError, ValueError): pass
        time.sleep(0.2)
    return False


def goes_on(pg):
    """Whether newer values come into the table."""
    if not becomes(lambda: pg.ask(LAST, "plant")): return False
    last = int(pg.ask(LAST, "plant"))
    return becomes(lambda: int(pg.ask(LAST, "plant")) > last + 20)


def waits(pl):
    return [line for line in pl.text().split("\n") if WAITS in line]


def reach(what, connection, pg, refusal="", home=None):
    """A server records over this connection, or says why it does not."""
    pl = recording(connection, home=home)
    if refusal:
        said = becomes(lambda: any(refusal in line for line in pl.text().split("\n")), 10)
        time.sleep(3)
        check(said and len(waits(pl)) == 1, f"{what}: {waits(pl)}")
    else:
        check(goes_on(pg) and not waits(pl), f"{what}: recorded{''.join(waits(pl))}")
    text = pl.text()
    check("secret" not in text and all(line[:2] == "20" or not line or line[0] == "(" or line[0] == "\t" for line in text.split("\n")),
          f"{what}: the log has its own lines only, and no password" + ("" if "secret" not in text else text))
    pl.p.terminate(); pl.p.wait(20); pl.close()


def reached():
    d = tempfile.mkdtemp(prefix="velsql-tls-")
    for name in ("server", "other"):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=localhost", "-addext",
                        "subjectAltName=DNS:localhost", "-keyout", f"{d}/{name}.key", "-out", f"{d}/{name}.crt"], check=True, capture_output=True)
    os.chmod(d, 0o755); os.chmod(d + "/server.key", 0o600)
    if os.geteuid() == 0: shutil.chown(d + "/server.key", "postgres")
    pg = Postgres(free_port(), ["-c", "ssl=on", "-c", f"ssl_cert_file={d}/server.crt", "-c", f"ssl_key_file={d}/server.key"])
    with open(pg.d + "/data/pg_hba.conf", "w") as f:
        f.write("local all all trust\nhostssl all all 127.0.0.1/32 scram-sha-256\n")
    pg.ask("ALTER ROLE writer PASSWORD 'secret'"); pg.ask("SELECT pg_reload_conf()")
    for name, mode, password in (("right", 0o600, "secret"), ("wrong", 0o600, "secre"), ("open", 0o644, "secret")):
        with open(f"{d}/{name}", "w") as f: f.write(f"*:*:plant:writer:{password}\n")
        os.chmod(f"{d}/{name}", mode)
    to = f"Driver=PostgreSQL;Port={pg.port};Database=plant;Uid=writer"
    root = f"sslrootcert={d}/server.crt"
    for what, rest, refusal in (
            ("sslmode=require", "Server=localhost;Pwd=secret;sslmode=require", ""),
            ("verify-full", f"Server=localhost;Pwd=secret;sslmode=verify-full;{root}", ""),
            ("another root", f"Server=localhost;Pwd=secret;sslmode=verify-full;sslrootcert={d}/other.crt", "certificate verify failed"),
            ("another name", f"Server=127.0.0.1;Pwd=secret;sslmode=verify-full;{root}", "does not match host name"),
            ("no root file", f"Server=localhost;Pwd=secret;sslmode=verify-full;sslrootcert={d}/none.crt", "does not exist"),
            ("without TLS", "Server=localhost;Pwd=secret;sslmode=disable", "no pg_hba.conf entry"),
            ("passfile", f"Server=localhost;passfile={d}/right", ""),
            ("a wrong passfile", f"Server=localhost;passfile={d}/wrong", "password authentication failed"),
            ("a passfile for everybody", f"Server=localhost;passfile={d}/open", "others may read it"),
            ("no password", "Server=localhost", "no password supplied")):
        reach(what, f"{to};{rest}", pg, refusal)
    shutil.copy(d + "/right", d + "/.pgpass")
    reach(".pgpass of the user's home", f"{to};Server=localhost", pg, home=d)
    check(pg.ask("SELECT count(*) > 0 FROM velsql_history", "plant") == "t", "rows came over TLS")
    pg.stop(); pg.options = []; pg.start()
    reach("sslmode=require of a server without TLS", f"{to};Server=localhost;Pwd=secret;sslmode=require", pg, "server does not support SSL")
    pg.close(); shutil.rmtree(d)


def suffered():
    """What happens to the database of a recording server, how it is undone, and whether recorded rows stay."""
    pg = Postgres()
    open_part = "(SELECT relname FROM pg_class WHERE relname LIKE 'velsql_rows_o2%' AND relkind = 'r' ORDER BY relname LIMIT 1)"
    each = lambda what: f"DO $$ DECLARE t text; BEGIN FOR t IN {open_part} LOOP EXECUTE format('{what}', t); END LOOP; END $$"
    drop = "DROP DATABASE plant (FORCE)", "CREATE DATABASE plant OWNER writer"
    for what, harm, mend, keeps in (
            ("connections cut", "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'writer'", "", True),
            ("permission taken", "REVOKE ALL ON ALL TABLES IN SCHEMA public FROM writer", "GRANT ALL ON ALL TABLES IN SCHEMA public TO writer", True),
            ("the view dropped", "DROP VIEW velsql_history", "", True),
            ("the rows dropped", "DROP TABLE velsql_rows CASCADE", "", False),
            ("a partition dropped", each("DROP TABLE %I"), "", False),
            ("positions dropped", "DROP TABLE velsql_positions", "", True),
            ("sums dropped", "DROP TABLE velsql_blocks CASCADE", "", True),
            ("a column dropped", "ALTER TABLE velsql_rows DROP COLUMN value_number CASCADE",
             "ALTER TABLE velsql_rows ADD COLUMN value_number float8", True),
            ("a trigger that refuses", "CREATE FUNCTION no() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RAISE 'not now'; END $$; "
             "CREATE TRIGGER no BEFORE INSERT ON velsql_rows FOR EACH ROW EXECUTE FUNCTION no()", "DROP FUNCTION no CASCADE", True),
            ("read-only", "ALTER DATABASE plant SET default_transaction_read_only = on; "
             "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'writer'",
             "ALTER DATABASE plant RESET default_transaction_read_only", True),
            ("the database dropped", drop[0], drop[1], False),
            ("a crash", None, None, True)):
        pl = recording(pg.connection)
        began = goes_on(pg)
        if harm is None: pg.stop(signal.SIGKILL); time.sleep(1); os.path.exists(pg.d + "/data/postmaster.pid") and os.remove(pg.d + "/data/postmaster.pid")
        elif "DATABASE plant (" in harm: pg.ask(harm)
        else: pg.ask(harm, "plant")
        time.sleep(3)
        if mend is None: pg.start()
        elif mend: pg.ask(mend, "postgres" if "DATABASE plant" in mend else "plant")
        on = goes_on(pg)
        said = waits(pl)
        check(began and on and len(said) == len(set(s.split(WAITS)[1] for s in said)), f"{what}: goes on; {[s.split(WAITS)[1] for s in said]}")
        check(becomes(lambda: pl.text().count(AGAIN) == len(said) or pl.text().count(AGAIN) > 0 or not said, 10), f"{what}: the log says that it goes on")
        answers = becomes(lambda: pg.ask("SELECT count(*) > 0 FROM velsql_minutes; SELECT count(*) > 0 FROM velsql_values WHERE value_number = "
                                         "item_value::float8 AND item_utc > 1e15", "plant") == "t\nt")
        check(answers, f"{what}: the other tables answer")
        pl.p.terminate(); pl.p.wait(20)
        whole = pg.ask(WHOLE, "plant")
        check(whole == "100 0", f"{what}: items, of these with values missing or there twice: {whole}")
        if "error" in pl.text().replace("error: History destination 1: " + WAITS, ""): print("   " + pl.text().replace("\n", "\n   "))
        pg.ask("DROP TABLE IF EXISTS velsql_rows, velsql_positions CASCADE", "plant"); pl.close()
    pg.close()


def kept():
    """Old days go by age and by size."""
    for what, more, rows in (("by age", 'keep = "2 days"', 20_000), ("by size", 'max_size = "100 MB"', 400_000)):
        pg = Postgres(); pl = recording(pg.connection, more)
        goes_on(pg)
        pg.ask(f"""INSERT INTO velsql_rows SELECT 'Old', 'N_' || i % 100, i::text, t, i, (extract(epoch FROM t) * 1e6)::bigint, 0 FROM
generate_series(1, {rows * 5}) AS i, LATERAL (SELECT date_trunc('day', localtimestamp) - interval '5 days' + i * interval '5 days' / {rows * 5}
AS t) AS m""", "plant")
        size = "SELECT sum(pg_total_relation_size(inhrelid)) FROM pg_inherits WHERE inhparent IN ('velsql_rows'::regclass, 'velsql_blocks'::regclass)"
        oldest = "SELECT extract(day FROM localtimestamp - min(item_time)) FROM velsql_history"
        ends = becomes(lambda: int(pg.ask("SELECT count(*) FROM velsql_rows_other", "plant")) == 0
                       and (int(pg.ask(size, "plant")) <= 100e6 if rows > 50_000 else int(pg.ask(oldest, "plant")) <= 3), 240)
        check(ends and goes_on(pg) and not waits(pl), f"{what}: {int(pg.ask(size, 'plant')) / 1e6:.0f} MB, {pg.ask(oldest, 'plant')} days are left")
        check(ends == ("has been removed" in pl.text()), f"{what}: {[l.split(': ', 1)[-1] for l in pl.text().split(chr(10)) if 'removed' in l]}")
        pl.p.terminate(); pl.p.wait(20); pl.close(); pg.close()


stages = {"reached": reached, "suffered": suffered, "kept": kept}
for name in sys.argv[1:] or stages: stages[name]()
leave()
