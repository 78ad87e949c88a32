"""Helpers the benchmark modules share: the simulated box, throw-away settings, the program
under test, and readings from /proc."""

from __future__ import annotations

import os
import selectors
import signal
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable, TypeVar

T = TypeVar("T")


class BenchError(RuntimeError):
    """A benchmark could not take its measurement (not a figure that missed its target)."""


@dataclass(frozen=True)
class Figure:
    unit: str
    target: float | None = None   # the figure must stay below this; None: reported only
    digits: int = 1               # decimals printed
    about: str = ""
    at_least: bool = False        # the target is a floor: the figure must reach it


@dataclass
class Context:
    root: Path
    build: Path
    options: object        # the parsed command line, module options included
    workdir: Path = field(default_factory=lambda: Path(tempfile.mkdtemp(prefix="velto-bench.")))

    @property
    def velto(self) -> Path:
        return self.build / "velto"

    @property
    def sim(self) -> Path:
        return self.build / "velto-sim"

    def scratch(self, name: str) -> Path:
        """A fresh empty folder under the run's work folder."""
        return Path(tempfile.mkdtemp(prefix=name + ".", dir=self.workdir))


def monotonic_us() -> int:
    """CLOCK_MONOTONIC in microseconds: the clock velto-sim writes into its trace."""
    return time.clock_gettime_ns(time.CLOCK_MONOTONIC) // 1000


def wait_for(probe: Callable[[], T | None], timeout: float, what: str, interval: float = 0.01) -> T:
    """Polls until probe gives something other than None."""
    deadline = time.monotonic() + timeout
    while True:
        value = probe()
        if value is not None:
            return value
        if time.monotonic() > deadline:
            raise BenchError(f"timed out after {timeout:g} s waiting for {what}")
        time.sleep(interval)


def stop(proc: subprocess.Popen, grace: float = 5.0) -> None:
    """SIGTERM, then SIGKILL if it lingers; only ever the process we started."""
    if proc.poll() is None:
        proc.send_signal(signal.SIGTERM)
        try:
            proc.wait(grace)
        except subprocess.TimeoutExpired:
            proc.kill()
            proc.wait()


class Sim:
    """velto-sim on a new pseudo-terminal; `pty` is the path it printed first."""

    def __init__(self, ctx: Context, *args: str, trace: Path | None = None):
        cmd = [str(ctx.sim), "--exit-with-parent", *args]
        if trace is not None:
            cmd += ["--trace", str(trace)]
        self.trace = trace
        self.proc = subprocess.Popen(cmd, stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True)
        try:
            self.pty = self._first_line(10.0)
        except BaseException:
            stop(self.proc)
            raise
        # Keep reading so a chatty sim never blocks on a full pipe.
        threading.Thread(target=self.proc.stdout.read, daemon=True).start()

    def _first_line(self, timeout: float) -> str:
        with selectors.DefaultSelector() as sel:
            sel.register(self.proc.stdout, selectors.EVENT_READ)
            if not sel.select(timeout):
                raise BenchError("velto-sim printed no port")
            line = self.proc.stdout.readline().strip()
        if not line:
            raise BenchError(f"velto-sim ended with status {self.proc.wait()}")
        return line

    def trace_lines(self) -> list[tuple[int, str]]:
        """The commands the box has taken so far: (CLOCK_MONOTONIC µs, command)."""
        if self.trace is None or not self.trace.exists():
            return []
        text = self.trace.read_text()
        lines = text.split("\n")[:-1]          # a line still being written is not taken yet
        out = []
        for line in lines:
            stamp, _, command = line.partition(" ")
            out.append((int(stamp), command))
        return out

    def __enter__(self) -> "Sim":
        return self

    def __exit__(self, *exc) -> None:
        stop(self.proc)


def write_prefs(folder: Path, **settings: str) -> Path:
    """A settings file as the program reads it: key=value lines."""
    folder.mkdir(parents=True, exist_ok=True)
    text = "".join(f"{key}={value}\n" for key, value in settings.items())
    (folder / "veltoprefs.ini").write_text(text)
    return folder


def spawn_app(ctx: Context, prefs: Path, *args: str, log: Path | None = None) -> subprocess.Popen:
    """The program, headless, on the given settings folder. Its output goes to `log`."""
    out = open(log, "wb") if log else subprocess.DEVNULL
    try:
        return subprocess.Popen([str(ctx.velto), "--headless", "--prefs", str(prefs), *args],
                                stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT)
    finally:
        if log:
            out.close()


def rss_mb(pid: int) -> float:
    """Resident set size from /proc/<pid>/status, in MiB."""
    for line in Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1]) / 1024
    raise BenchError(f"no VmRSS for process {pid}")


_TICKS = os.sysconf("SC_CLK_TCK")


def cpu_seconds_stat(pid: int) -> float:
    """User plus system time from /proc/<pid>/stat (all threads, in clock ticks)."""
    text = Path(f"/proc/{pid}/stat").read_text()
    fields = text[text.rindex(")") + 2:].split()
    return (int(fields[11]) + int(fields[12])) / _TICKS   # utime, stime


def cpu_seconds_sched(pid: int) -> float | None:
    """Time on the CPU summed over the threads' schedstat, in nanoseconds' precision;
    None where the kernel doesn't keep it."""
    total = 0
    try:
        for task in Path(f"/proc/{pid}/task").iterdir():
            total += int((task / "schedstat").read_text().split()[0])
    except (FileNotFoundError, ProcessLookupError, IndexError, ValueError):
        return None
    return total / 1e9
