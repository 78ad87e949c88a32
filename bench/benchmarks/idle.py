"""rss_mb and idle_cpu_s: the headless program in solo mode, connected to velto-sim and
polling it every 2.5 s with nothing else to do."""

from __future__ import annotations

import sys
import time

from common import (BenchError, Context, Figure, Sim, cpu_seconds_sched, cpu_seconds_stat, rss_mb,
                    spawn_app, stop, wait_for, write_prefs)

ORDER = 20

FIGURES = {
    "rss_mb": Figure("MB", target=25, digits=1,
                     about="VmRSS once start-up and the first polls are over"),
    "idle_cpu_s": Figure("s", target=0.02, digits=3,
                         about="CPU time over 60 s of idle polling"),
}

POLL_MS = 2500


def add_arguments(parser) -> None:
    parser.add_argument("--settle-seconds", type=float, default=5, metavar="S",
                        help="time after start before rss_mb is read (default 5)")
    parser.add_argument("--idle-seconds", type=float, default=60, metavar="S",
                        help="idle window for idle_cpu_s (default 60)")


def polls(sim: Sim) -> int:
    return sum(1 for _, command in sim.trace_lines() if command.upper() == "V")


def run(ctx: Context):
    opts = ctx.options
    with Sim(ctx, trace=ctx.workdir / "idle.trace") as sim:
        prefs = write_prefs(ctx.scratch("idle-prefs"), serial=sim.pty, mode="solo")
        log = ctx.workdir / "idle.log"
        app = spawn_app(ctx, prefs, "--connect", log=log)
        try:
            wait_for(lambda: True if polls(sim) else None, 10.0,
                     f"the first poll (program output in {log})", interval=0.05)
            time.sleep(max(0.0, opts.settle_seconds - POLL_MS / 1000))
            rss = rss_mb(app.pid)
            yield "rss_mb", rss

            polls_before = polls(sim)
            sched0, stat0, t0 = cpu_seconds_sched(app.pid), cpu_seconds_stat(app.pid), time.monotonic()
            time.sleep(opts.idle_seconds)
            sched1, stat1, t1 = cpu_seconds_sched(app.pid), cpu_seconds_stat(app.pid), time.monotonic()
            if app.poll() is not None:
                raise BenchError(f"the program ended with status {app.returncode} (output in {log})")
            rss_end = rss_mb(app.pid)
        finally:
            stop(app)

    # A program that stopped polling would idle for free: the figure would mean nothing.
    expected = int((t1 - t0) * 1000 / POLL_MS)
    done = polls(sim) - polls_before
    if done < expected - 1:
        raise BenchError(f"only {done} polls in {t1 - t0:.0f} s, expected about {expected}")

    by_stat = stat1 - stat0
    by_sched = None if sched0 is None or sched1 is None else sched1 - sched0
    print(f"  idle window {t1 - t0:.1f} s, {done} polls; CPU by stat {by_stat:.2f} s"
          f"{'' if by_sched is None else f', by schedstat {by_sched:.4f} s'}; "
          f"RSS {rss:.1f} -> {rss_end:.1f} MB", file=sys.stderr)
    # schedstat counts nanoseconds; stat only whole clock ticks (10 ms), too coarse for this target.
    yield "idle_cpu_s", by_stat if by_sched is None else by_sched
