"""Malformed and hostile messages: the server goes on, answers others at once, and keeps a bounded amount."""
from wire import *

MB = 1024 * 1024
SENDER_HOSTED, SENDER_PROMISE, RECEIVER_HOSTED, RECEIVER_ANSWER = 1, 2, 3, 4


def raw_call(q, body):
    """A call message whose Call struct `body(b, s)` fills."""
    b, p = message(2); s = b.struct(p, 3, 3); b.set(s, 0, 32, q); body(b, s); return b.pack()


def empty_list(b, pointer, count):
    """A list of `count` structs of no size."""
    at = b.alloc(1)
    b.w[pointer] = (((at - pointer - 1) << 2) & 0xffffffff) | 1 | (7 | 0 << 3) << 32
    b.w[at] = count << 2


def many_steps(q, target, count=60_000_000):
    def body(b, s):
        b.set(s, 64, 64, ENG)
        t = b.struct(s + 3, 1, 1); b.set(t, 32, 16, 1)
        a = b.struct(t + 1, 1, 1); b.set(a, 0, 32, target)
        empty_list(b, a + 1, count)
        b.struct(s + 4, 0, 2)
    return raw_call(q, body)


def many_caps(q, count=60_000_000):
    def body(b, s):
        b.set(s, 64, 64, LIB); b.set(s, 32, 16, 1)
        t = b.struct(s + 3, 1, 1); b.set(t, 32, 16, 1)
        b.struct(t + 1, 1, 1)
        p = b.struct(s + 4, 0, 2); b.struct(p, 0, 0)
        empty_list(b, p + 1, count)
    return raw_call(q, body)


def answer_steps(count=60_000_000):
    """A return of a question nobody asked whose objects claim to be many."""
    b, p = message(3); s = b.struct(p, 2, 1); b.set(s, 48, 16, 0)
    r = b.struct(s + 2, 0, 2); empty_list(b, r + 1, count); return b.pack()


def subscribe(q, cap):
    def fill(b, c): b.w[c] = 3      # a capability pointer: the first of the table
    return call(q, (2, [0]), CTL, 18, fill=fill, size=(0, 1), caps=[cap])


def resolve(promise, cap):
    b, p = message(5); s = b.struct(p, 1, 1); b.set(s, 0, 32, promise); b.set(s, 32, 16, 0)
    d = b.struct(s + 1, 1, 1); b.set(d, 0, 16, cap[0]); b.set(d, 32, 32, cap[1]); return b.pack()


def unknown(kind):
    b, p = message(kind); b.struct(p, 1, 1); return b.pack()


def send(client, *messages):
    try:
        for m in messages: client.send(m)
    except OSError: pass


def lives(pl, other, what, most=0.5):
    try: delay = other.ping()
    except (OSError, EOFError) as e: delay = None
    check(pl.p.poll() is None and delay is not None and delay < most,
          "%s: another's ping %s, %d MB" % (what, "unanswered" if delay is None else "%.0f ms" % (delay * 1e3), pl.rss() // 1024))


def unwatched_and_watched(pl, other):
    for watched in (False, True):
        if watched: other.execute("calls")
        for interface in (LIB, ENG, CTL, ITM, HIS, RES, 0, 1 << 63):
            for number in (7, 18, 50, 1000, 65535):
                a = Raw(pl.sock, 3)
                a.send(call(9, (1, [0]), interface, number))
                try: a.answer(9)
                except (OSError, EOFError): pass
                a.close()
        lives(pl, other, "methods and interfaces that do not exist, %s" % ("watched" if watched else "not watched"))


def claims(pl, other):
    for name, messages in (("steps", [call(2, (1, [0]), ENG, 5, **text_arg("sleep 20000"))] + [many_steps(i, 2) for i in range(3, 16)]),
                           ("objects", [many_caps(i) for i in range(2, 14)]),
                           ("answers", [answer_steps()]),
                           ("kinds", [unknown(k) for k in range(0, 20)])):
        for m in messages:
            a = Raw(pl.sock); send(a, m); time.sleep(0.01)
        a = Raw(pl.sock); send(a, *messages); time.sleep(0.02)
        lives(pl, other, "lists that claim 60 million entries: " + name)
        check(status(pl.p.pid, "VmHWM") // 1024 < 200, "at most %d MB" % (status(pl.p.pid, "VmHWM") // 1024))
        a.close()


def circles(pl, other):
    controller = call(2, (1, [0]), ENG, 1, **name_arg("PLC1"))
    for name, tail in (("a promise resolved to itself", [resolve(5, (SENDER_PROMISE, 5))]),
                       ("two promises resolved to each other", [resolve(5, (SENDER_PROMISE, 6)), resolve(6, (SENDER_PROMISE, 5))])):
        a = Raw(pl.sock)
        send(a, controller, subscribe(3, (SENDER_PROMISE, 5)), subscribe(4, (SENDER_PROMISE, 6)), *tail)
        time.sleep(0.1)
        try: other.s.settimeout(3); other.execute("fire PLC1 state 1 100")
        except OSError: pass
        lives(pl, other, name)
        a.close()
        if pl.p.poll() is None and not answers(pl): pl.kill(); pl.start()
        other = Raw(pl.sock)
    return other


def answers(pl):
    try: Raw(pl.sock, 3).ping(); return True
    except (OSError, EOFError): return False


def rows(pl, other, count=60_000):
    """Calls each of which waits for the one before; then the client goes, and they all go at once."""
    a = Raw(pl.sock)
    send(a, call(2, (1, [0]), ENG, 5, **text_arg("sleep 3000")))
    send(a, b"".join(call(q, (q - 1, [0]), ENG, 5, **text_arg("")) for q in range(3, count)))
    time.sleep(1); a.close(); time.sleep(3)
    lives(pl, other, "%d calls that wait for each other" % count)


def numbers(pl, other):
    """Numbers of calls that were never made, are under way, or are finished with already."""
    for messages in ([finish(77)], [finish(0), finish(0)], [call(5, (1, [0]), ENG, 5, **text_arg("sleep 1000"))] * 2,
                     [call(5, (1, [0]), ENG, 5, **text_arg("sleep 1000")), finish(5), finish(5)], [call(5, (5, [0]), ENG, 2)],
                     [call(5, 99, ENG, 2)], [call(5, (99, [0] * 5), ENG, 2)]):
        a = Raw(pl.sock); send(a, *messages); time.sleep(0.05); a.close()
    lives(pl, other, "calls' numbers used wrongly")


pl = Place("messages")
for stage in (unwatched_and_watched, claims, numbers, rows, circles):
    pl.start()
    try: stage(pl, Raw(pl.sock, 10))
    except (OSError, EOFError) as e: check(False, "%s: %r" % (stage.__name__, e))
    text = [l for l in pl.text().splitlines() if "rror" in l and "dropped" not in l]
    check(pl.p.poll() is None and not text, "%s: the server runs, its log has %s" % (stage.__name__, text[:2] or "no errors"))
    pl.kill()
pl.close()
leave()
