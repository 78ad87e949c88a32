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
