"""startup_ms: from spawning the headless program with --connect to the first byte the box
receives (the lone CR that Connect writes), as stamped by velto-sim's trace."""

from __future__ import annotations

import statistics
import subprocess
import sys

from common import Context, Figure, Sim, monotonic_us, spawn_app, stop, wait_for, write_prefs

ORDER = 10

FIGURES = {
    "startup_ms": Figure("ms", target=50, digits=1,
                         about="median, spawn to the first byte on the serial line"),
}


def add_arguments(parser) -> None:
    parser.add_argument("--startup-runs", type=int, default=10, metavar="N",
                        help="measured start-ups for startup_ms (default 10, after one warm-up)")


def one_start(ctx: Context, n: int) -> float:
    trace = ctx.workdir / f"startup-{n}.trace"
    with Sim(ctx, trace=trace) as sim:
        prefs = write_prefs(ctx.scratch("startup-prefs"), serial=sim.pty, mode="solo")
        log = ctx.workdir / f"startup-{n}.log"
        before = monotonic_us()
        app = spawn_app(ctx, prefs, "--connect", log=log)
        try:
            # The stamp comes from the sim, so polling slowly costs no precision, only
            # leaves the CPU to the program.
            first = wait_for(lambda: (sim.trace_lines() or [None])[0], 10.0,
                             f"the first command on the line (program output in {log})",
                             interval=0.02)
        finally:
            stop(app)
    return (first[0] - before) / 1000


def run_to_exit_ms(cmd: list[str], runs: int = 5) -> float:
    """Median time to start and end a command."""
    samples = []
    for _ in range(runs):
        before = monotonic_us()
        subprocess.run(cmd, check=True, stdout=subprocess.DEVNULL)
        samples.append((monotonic_us() - before) / 1000)
    return statistics.median(samples)


def run(ctx: Context):
    # Floors for reading the figure: any process at all, and the program's loading and exit alone.
    print(f"  start to exit: true {run_to_exit_ms(['true']):.1f} ms, "
          f"velto --version {run_to_exit_ms([str(ctx.velto), '--version']):.1f} ms", file=sys.stderr)
    one_start(ctx, 0)  # warm the page cache and the dynamic loader
    samples = [one_start(ctx, n) for n in range(1, ctx.options.startup_runs + 1)]
    print(f"  startup runs (ms): {' '.join(f'{s:.1f}' for s in samples)}", file=sys.stderr)
    yield "startup_ms", statistics.median(samples)
