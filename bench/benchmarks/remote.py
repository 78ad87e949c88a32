"""The remote link, measured from outside: a TCP peer's device line to the bytes on the serial
line (the headless program as a slave, against a plain socat relay of the same bytes), and
HTTP ;GETSTATUS requests per second from one sequential client."""

from __future__ import annotations

import shutil
import socket
import statistics
import subprocess
import sys
import time

from common import (BenchError, Context, Figure, Sim, monotonic_us, spawn_app, stop, wait_for,
                    write_prefs)

# A slave announces itself on the LAN every 5 s; here the announcements stay on loopback.
LOOPBACK_BROADCAST = ("--broadcast", "127.255.255.255")

ORDER = 30

FIGURES = {
    "relay_p50_us": Figure("us", digits=0, about="median, a peer's \"A50\" line to the bytes on the serial line"),
    "relay_p99_us": Figure("us", digits=0, about="99th percentile of the same"),
    "socat_p50_us": Figure("us", digits=0, about="median of the same path through socat alone"),
    "socat_p99_us": Figure("us", digits=0, about="99th percentile through socat"),
    "http_getstatus_per_s": Figure("requests/s", digits=0,
                                   about="HTTP ;GETSTATUS answered per second, one sequential client"),
}


def add_arguments(parser) -> None:
    parser.add_argument("--relay-lines", type=int, default=1000, metavar="N",
                        help="lines timed for the relay figures (default 1000)")
    parser.add_argument("--http-seconds", type=float, default=5.0, metavar="S",
                        help="how long to send HTTP requests (default 5)")


def free_port() -> int:
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def connect(port: int, timeout: float = 10.0) -> socket.socket:
    deadline = time.monotonic() + timeout
    while True:
        try:
            sock = socket.create_connection(("127.0.0.1", port), timeout=5)
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            return sock
        except OSError:
            if time.monotonic() > deadline:
                raise BenchError(f"nothing listens on 127.0.0.1:{port}")
            time.sleep(0.02)


def time_lines(sim: Sim, sock: socket.socket, lines: int) -> list[float]:
    """Sends one level line at a time, waits until the box has taken it, and returns the
    latencies from the send to the box's receipt, in µs (stamped by the sim's own clock)."""
    samples = []
    taken = len(sim.trace_lines())
    sock.settimeout(0.001)
    for n in range(lines):
        command = f"A{50 + n % 2}"
        before = monotonic_us()
        sock.sendall((command + "\r\n").encode())

        def arrived():
            trace = sim.trace_lines()
            for stamp, seen in trace[taken:]:
                if seen == command:
                    return stamp, len(trace)
            try:                        # keep the relayed replies from piling up
                sock.recv(65536)
            except (socket.timeout, BlockingIOError):
                pass
            return None

        stamp, taken = wait_for(arrived, 5.0, f"{command} on the serial line", interval=0)
        samples.append(stamp - before)
    return samples


def percentiles(samples: list[float]) -> tuple[float, float]:
    ordered = sorted(samples)
    return statistics.median(ordered), ordered[min(len(ordered) - 1, int(len(ordered) * 0.99))]


def relay_through_velto(ctx: Context, lines: int) -> list[float]:
    port = free_port()
    with Sim(ctx, trace=ctx.workdir / "relay-velto.trace") as sim:
        prefs = write_prefs(ctx.scratch("relay-prefs"), serial=sim.pty, mode="slave", port=str(port),
                            timeout="600")
        app = spawn_app(ctx, prefs, "--connect", *LOOPBACK_BROADCAST, log=ctx.workdir / "relay-velto.log")
        try:
            with connect(port) as sock:
                sock.recv(100)              # the greeting
                time_lines(sim, sock, 20)   # warm-up
                return time_lines(sim, sock, lines)
        finally:
            stop(app)


def relay_through_socat(ctx: Context, lines: int) -> list[float]:
    socat = shutil.which("socat")
    if socat is None:
        raise BenchError("socat is not installed (scripts/deps installs it)")
    port = free_port()
    with Sim(ctx, trace=ctx.workdir / "relay-socat.trace") as sim:
        relay = subprocess.Popen([socat, f"TCP-LISTEN:{port},bind=127.0.0.1,reuseaddr,nodelay",
                                  f"OPEN:{sim.pty},raw,echo=0,b9600"],
                                 stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        try:
            with connect(port) as sock:
                time_lines(sim, sock, 20)
                return time_lines(sim, sock, lines)
        finally:
            stop(relay)


def http_rate(ctx: Context, seconds: float) -> float:
    port = free_port()
    with Sim(ctx) as sim:
        prefs = write_prefs(ctx.scratch("http-prefs"), serial=sim.pty, mode="slave", port=str(port),
                            http="true")
        app = spawn_app(ctx, prefs, "--connect", *LOOPBACK_BROADCAST, log=ctx.workdir / "http.log")
        request = b"GET /;GETSTATUS HTTP/1.0\r\n\r\n"

        def one() -> bytes:
            with connect(port) as sock:
                sock.sendall(request)
                answer = b""
                while chunk := sock.recv(65536):
                    answer += chunk
                return answer

        try:
            answer = one()
            if answer.count(b"\r\n;STATUS:") != 28 or b";STATUS:connection=http" not in answer:
                raise BenchError(f"unexpected answer to ;GETSTATUS: {answer[:200]!r}")
            done = 0
            start = time.monotonic()
            while time.monotonic() - start < seconds:
                one()
                done += 1
            return done / (time.monotonic() - start)
        finally:
            stop(app)


def run(ctx: Context):
    lines = ctx.options.relay_lines
    velto = percentiles(relay_through_velto(ctx, lines))
    socat = percentiles(relay_through_socat(ctx, lines))
    print(f"  relay over {lines} lines: velto {velto[0]:.0f}/{velto[1]:.0f} us, socat "
          f"{socat[0]:.0f}/{socat[1]:.0f} us (p50/p99); velto/socat at p50 = {velto[0] / socat[0]:.2f} "
          f"(target 1.2 or less)", file=sys.stderr)
    yield "relay_p50_us", velto[0]
    yield "relay_p99_us", velto[1]
    yield "socat_p50_us", socat[0]
    yield "socat_p99_us", socat[1]
    yield "http_getstatus_per_s", http_rate(ctx, ctx.options.http_seconds)
