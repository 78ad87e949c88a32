"""A soak: the headless program as a slave in front of velto-sim, one TCP peer on loopback sending
a level line every 10 ms for five minutes, reading what the slave relays. Memory must stay flat
and the lines must keep reaching the box as fast at the end as at the start."""

from __future__ import annotations

import sys
import time

from common import (BenchError, Context, Figure, Sim, monotonic_us, rss_mb, spawn_app, stop,
                    write_prefs)
from benchmarks.remote import LOOPBACK_BROADCAST, connect, free_port, percentiles

ORDER = 90

FIGURES = {
    "soak_rss_growth_mb": Figure("MB", target=1, digits=2,
                                 about="VmRSS at the end of the soak less VmRSS after its warm-up"),
    "soak_p99_us": Figure("us", digits=0,
                          about="99th percentile, a peer's line to the box's receipt, over the soak"),
}

INTERVAL_S = 0.010
WARM_UP_S = 10.0


def add_arguments(parser) -> None:
    parser.add_argument("--soak-seconds", type=float, default=300.0, metavar="S",
                        help="how long the peer sends its lines (default 300)")


def command(n: int) -> str:
    # A hundred different lines in turn, so that each is found in the box's trace by its text.
    return f"A{n % 100}"


def latencies(sent: list[tuple[int, str]], taken: list[tuple[int, str]]) -> list[float | None]:
    """Pairs each sent line with the box's receipt of it: the first time the box took that text
    after it was sent, within the second before the same text comes round again. The latency in
    µs, or None for a line the box never took (two lines that arrive in one read are one to the
    slave)."""
    taken = [(stamp, cmd) for stamp, cmd in taken if cmd.upper() not in ("V", "")]
    out, at = [], 0
    for stamp, cmd in sent:
        while at < len(taken) and taken[at][0] < stamp:
            at += 1
        found = None
        for later in range(at, len(taken)):
            if taken[later][0] - stamp >= 1_000_000:
                break
            if taken[later][1] == cmd:
                found = taken[later][0] - stamp
                break
        out.append(found)
    return out


def run(ctx: Context):
    seconds = ctx.options.soak_seconds
    warm_up = min(WARM_UP_S, seconds / 10)
    port = free_port()
    trace = ctx.workdir / "soak.trace"
    log = ctx.workdir / "soak.log"
    with Sim(ctx, trace=trace) as sim:
        prefs = write_prefs(ctx.scratch("soak-prefs"), serial=sim.pty, mode="slave", port=str(port),
                            timeout="600")
        app = spawn_app(ctx, prefs, "--connect", *LOOPBACK_BROADCAST, log=log)
        try:
            with connect(port) as sock:
                sock.setblocking(False)
                sent: list[tuple[int, str]] = []
                samples: list[tuple[float, float]] = []
                start = time.monotonic()
                rss_start, warm_lines = None, 0
                while (now := time.monotonic()) - start < seconds:
                    if rss_start is None and now - start >= warm_up:
                        rss_start = rss_mb(app.pid)
                        warm_lines = len(sent)
                    if not samples or now - samples[-1][0] >= 10:
                        samples.append((now, rss_mb(app.pid)))
                    line = command(len(sent))
                    sent.append((monotonic_us(), line))
                    sock.sendall((line + "\r\n").encode())
                    try:            # what the slave relays is read, as a well-behaved peer does
                        while sock.recv(65536):
                            pass
                        raise BenchError(f"the slave closed the link (output in {log})")
                    except BlockingIOError:
                        pass
                    time.sleep(max(0.0, start + len(sent) * INTERVAL_S - time.monotonic()))
                time.sleep(0.5)     # the last lines reach the box
                if app.poll() is not None:
                    raise BenchError(f"the program ended with status {app.returncode} (output in {log})")
                rss_end = rss_mb(app.pid)
        finally:
            stop(app)
        measured = latencies(sent, sim.trace_lines())[warm_lines:]

    timed = [latency for latency in measured if latency is not None]
    lost = len(measured) - len(timed)
    if not timed or lost > len(measured) // 100:
        raise BenchError(f"{lost} of {len(measured)} lines never reached the box (trace in {trace}, "
                         f"program output in {log})")
    p50, p99 = percentiles(timed)
    trend = ", ".join(f"{rss:.2f}" for _, rss in samples[::6])
    print(f"  soak of {seconds:g} s: {len(measured)} lines after the warm-up, {lost} merged or lost; "
          f"latency p50 {p50:.0f} us, p99 {p99:.0f} us; RSS {rss_start:.2f} -> {rss_end:.2f} MB "
          f"(each minute: {trend})", file=sys.stderr)
    yield "soak_rss_growth_mb", rss_end - rss_start
    yield "soak_p99_us", p99
