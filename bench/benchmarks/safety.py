"""How fast the box is stopped when control is lost: SIGTERM to the program, and a TCP peer that
closes its link, each to the "K" that velto-sim's trace stamps."""

from __future__ import annotations

import signal
import statistics
import sys

from common import Context, Figure, Sim, monotonic_us, spawn_app, stop, wait_for, write_prefs
from benchmarks.remote import LOOPBACK_BROADCAST, connect, free_port

ORDER = 40
RUNS = 10

FIGURES = {
    "stop_latency_signal_ms": Figure("ms", digits=2, target=50,
                                     about="median of 10, SIGTERM to \"K\" on the serial line"),
    "stop_latency_peer_ms": Figure("ms", digits=2, target=50,
                                   about="median of 10, a TCP peer's close to \"K\" on the serial line"),
}


def k_after(sim: Sim, taken: int, since_us: int) -> float:
    """Milliseconds from `since_us` to the first "K" the box took after its `taken`-th command."""
    def seen():
        for stamp, command in sim.trace_lines()[taken:]:
            if command == "K":
                return stamp
        return None
    return (wait_for(seen, 5.0, '"K" on the serial line') - since_us) / 1000.0


def one_run(ctx: Context, n: int, by_signal: bool) -> float:
    port = free_port()
    with Sim(ctx, trace=ctx.workdir / f"stop-{n}.trace") as sim:
        prefs = write_prefs(ctx.scratch(f"stop-prefs-{n}"), serial=sim.pty, mode="slave", port=str(port))
        app = spawn_app(ctx, prefs, "--connect", *LOOPBACK_BROADCAST, log=ctx.workdir / f"stop-{n}.log")
        try:
            wait_for(lambda: sim.trace_lines() or None, 10.0, "the program's first command")
            with connect(port) as peer:
                peer.recv(100)                      # the greeting: the slave has its peer
                peer.sendall(b"A10\r\n")
                wait_for(lambda: any(c == "A10" for _, c in sim.trace_lines()) or None, 5.0, "A10")
                taken = len(sim.trace_lines())
                before = monotonic_us()
                if by_signal:
                    app.send_signal(signal.SIGTERM)
                else:
                    peer.close()
                latency = k_after(sim, taken, before)
            if by_signal:
                app.wait(5)
            return latency
        finally:
            stop(app)


def run(ctx: Context):
    for name, by_signal in (("stop_latency_signal_ms", True), ("stop_latency_peer_ms", False)):
        samples = [one_run(ctx, i, by_signal) for i in range(RUNS)]
        print(f"  {name}: runs {', '.join(f'{s:.2f}' for s in samples)} ms", file=sys.stderr)
        yield name, statistics.median(samples)
