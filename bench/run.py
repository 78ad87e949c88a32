#!/usr/bin/env python3
"""Runs the benchmarks and prints one line per figure, "name value unit", on standard output.
Progress and details go to standard error.

Each module in benchmarks/ declares FIGURES (name -> Figure) and run(ctx), a generator of
(name, value); it may add options with add_arguments(parser) and set ORDER (default 100) to
place itself among the others. Adding a figure is adding a module.
"""

from __future__ import annotations

import argparse
import importlib
import os
import shutil
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
sys.dont_write_bytecode = True  # no __pycache__ in the source tree

from common import BenchError, Context  # noqa: E402


def load_modules():
    modules = []
    for path in sorted((HERE / "benchmarks").glob("*.py")):
        if path.name.startswith("_"):
            continue
        module = importlib.import_module(f"benchmarks.{path.stem}")
        modules.append((getattr(module, "ORDER", 100), path.stem, module))
    return [(stem, module) for _, stem, module in sorted(modules, key=lambda m: m[:2])]


def main() -> int:
    modules = load_modules()
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", type=Path, default=HERE.parent / "build" / "release",
                        help="build folder with velto and velto-sim (default build/release)")
    parser.add_argument("--only", action="append", default=[], metavar="NAME",
                        help="run only this figure or module (repeatable)")
    parser.add_argument("--list", action="store_true", help="list the figures and their targets")
    parser.add_argument("--check", action="store_true",
                        help="exit with status 1 when a figure misses its target")
    parser.add_argument("--keep", action="store_true", help="keep the work folder (traces, logs)")
    for _, module in modules:
        if hasattr(module, "add_arguments"):
            module.add_arguments(parser)
    options = parser.parse_args()

    if options.list:
        for stem, module in modules:
            for name, fig in module.FIGURES.items():
                target = "" if fig.target is None else f"{'>=' if fig.at_least else '<'} {fig.target:g} {fig.unit}"
                print(f"{name:<16} {target:<12} {stem}: {fig.about}")
        return 0

    known = {stem for stem, _ in modules} | {n for _, m in modules for n in m.FIGURES}
    unknown = [n for n in options.only if n not in known]
    if unknown:
        parser.error(f"unknown figure or module: {', '.join(unknown)}")

    def wanted(stem: str, name: str) -> bool:
        return not options.only or stem in options.only or name in options.only

    ctx = Context(root=HERE.parent, build=options.build.resolve(), options=options)
    for binary in (ctx.velto, ctx.sim):
        if not binary.exists():
            parser.error(f"{binary} is missing: build first (scripts/bench does)")

    # Timed figures stretch on a busy machine; say so next to them.
    load = float(Path("/proc/loadavg").read_text().split()[0])
    print(f"# load average {load:.1f} on {os.cpu_count()} cores", file=sys.stderr, flush=True)

    missed, failed = [], []
    try:
        for stem, module in modules:
            if not any(wanted(stem, name) for name in module.FIGURES):
                continue
            print(f"# {stem}", file=sys.stderr, flush=True)
            try:
                for name, value in module.run(ctx):
                    if not wanted(stem, name):
                        continue
                    fig = module.FIGURES[name]
                    print(f"{name} {value:.{fig.digits}f} {fig.unit}", flush=True)
                    if fig.target is None:
                        continue
                    ok = value >= fig.target if fig.at_least else value < fig.target
                    bound = ">=" if fig.at_least else "<"
                    print(f"  {name}: {'ok' if ok else 'MISSED'} (target {bound} {fig.target:g} {fig.unit})",
                          file=sys.stderr, flush=True)
                    if not ok:
                        missed.append(name)
            except BenchError as error:
                print(f"  {stem} failed: {error}", file=sys.stderr, flush=True)
                failed.append(stem)
    finally:
        if options.keep:
            print(f"# work folder kept: {ctx.workdir}", file=sys.stderr)
        else:
            shutil.rmtree(ctx.workdir, ignore_errors=True)

    if missed:
        print(f"# missed targets: {' '.join(missed)}", file=sys.stderr)
    if failed:
        return 2
    return 1 if missed and options.check else 0


if __name__ == "__main__":
    sys.exit(main())
