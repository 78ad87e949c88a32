"""Figures printed by the C++ benchmarks of bench/CMakeLists.txt. Each program prints its
figures as "name value unit" lines and exits 0; this module runs it and checks the lines."""

from __future__ import annotations

import subprocess

from common import BenchError, Context, Figure

ORDER = 50

# Program (in the build folder) -> the figures it prints.
PROGRAMS = {
    "loop3h": {
        "loop3h_cpu_s": Figure("s", digits=3,
                               about="CPU time of three hours of loop playback in virtual time"),
        "loop3h_commands": Figure("commands", digits=0,
                                  about="device commands sent by that playback (polls excluded)"),
    },
    "broker_load": {
        "broker_pairs": Figure("pairs", 1000, digits=0, at_least=True,
                               about="linked master-slave pairs velto-broker holds (2 TLS connections each)"),
        "broker_rss_kb_per_conn": Figure("kB", digits=1,
                                         about="velto-broker's resident memory per connection held"),
        "broker_lines_per_s": Figure("lines/s", 10000, digits=0, at_least=True,
                                     about="lines relayed a second by velto-broker, as fast as it takes them"),
        "broker_relay_p99_us": Figure("us", 5000, digits=0,
                                      about="99th percentile of a line's time through velto-broker at 10,000 lines/s"),
    },
}

FIGURES = {name: fig for figures in PROGRAMS.values() for name, fig in figures.items()}


def run(ctx: Context):
    for program, figures in PROGRAMS.items():
        path = ctx.build / program
        if not path.exists():
            raise BenchError(f"{path} is missing (it is built with the tests)")
        done = subprocess.run([str(path)], capture_output=True, text=True, timeout=600)
        if done.returncode != 0:
            raise BenchError(f"{program} exited with {done.returncode}: {done.stderr.strip()}")
        seen = {}
        for line in done.stdout.splitlines():
            parts = line.split()
            if len(parts) == 3 and parts[0] in figures:
                if parts[2] != figures[parts[0]].unit:
                    raise BenchError(f"{program}: {parts[0]} in {parts[2]}, expected {figures[parts[0]].unit}")
                seen[parts[0]] = float(parts[1])
        missing = [name for name in figures if name not in seen]
        if missing:
            raise BenchError(f"{program} did not print {', '.join(missing)}")
        yield from seen.items()
