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


class Path:
    """One way from a TCP peer to a box: the socket to write to and the box's trace."""

    def __init__(self, sim: Sim, sock: socket.socket):
        self.sim, self.sock = sim, sock
        self.taken = len(sim.trace_lines())
        sock.settimeout(0.001)

    def time_line(self, command: str) -> float:
        """Sends one level line and waits until the box has taken it; the latency from the send
        to the box's receipt in µs, stamped by the sim's own clock."""
        before = monotonic_us()
        self.sock.sendall((command + "\r\n").encode())

        def arrived():
            trace = self.sim.trace_lines()
            for stamp, seen in trace[self.taken:]:
                if seen == command:
                    return stamp, len(trace)
            try:                        # keep relayed replies from piling up
                self.sock.recv(65536)
            except (socket.timeout, BlockingIOError):
                pass
            return None

        stamp, self.taken = wait_for(arrived, 5.0, f"{command} on the serial line", interval=0)
        return stamp - before


def percentiles(samples: list[float]) -> tuple[float, float]:
    ordered = sorted(samples)
    return statistics.median(ordered), ordered[min(len(ordered) - 1, int(len(ordered) * 0.99))]


def relay(ctx: Context, lines: int) -> tuple[list[float], list[float]]:
    """The program as a slave and a plain socat relay, each in front of its own simulated box,
    timed line for line in turn, so that both meet the same state of the machine."""
    socat = shutil.which("socat")
    if socat is None:
        raise BenchError("socat is not installed (scripts/deps installs it)")
    velto_port, socat_port = free_port(), free_port()
    with Sim(ctx, trace=ctx.workdir / "relay-velto.trace") as velto_sim, \
            Sim(ctx, trace=ctx.workdir / "relay-socat.trace") as socat_sim:
        prefs = write_prefs(ctx.scratch("relay-prefs"), serial=velto_sim.pty, mode="slave",
                            port=str(velto_port), timeout="600")
        app = spawn_app(ctx, prefs, "--connect", *LOOPBACK_BROADCAST, log=ctx.workdir / "relay-velto.log")
        plain = subprocess.Popen([socat, f"TCP-LISTEN:{socat_port},bind=127.0.0.1,reuseaddr,nodelay",
                                  f"OPEN:{socat_sim.pty},raw,echo=0,b9600"],
                                 stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        try:
            with connect(velto_port) as velto_sock, connect(socat_port) as socat_sock:
                velto_sock.recv(100)    # the greeting
                through_velto = Path(velto_sim, velto_sock)
                through_socat = Path(socat_sim, socat_sock)
                samples = ([], [])
                for n in range(lines + 20):             # the first 20 warm up
                    command = f"A{50 + n % 2}"
                    pair = (through_velto.time_line(command), through_socat.time_line(command))
                    if n >= 20:
                        samples[0].append(pair[0])
                        samples[1].append(pair[1])
                return samples
        finally:
            stop(plain)
            stop(app)


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
    through_velto, through_socat = relay(ctx, lines)
    velto, socat = percentiles(through_velto), percentiles(through_socat)
    print(f"  relay over {lines} lines: velto {velto[0]:.0f}/{velto[1]:.0f} us, socat "
          f"{socat[0]:.0f}/{socat[1]:.0f} us (p50/p99); velto/socat at p50 = {velto[0] / socat[0]:.2f} "
          f"(target 1.2 or less)", file=sys.stderr)
    yield "relay_p50_us", velto[0]
    yield "relay_p99_us", velto[1]
    yield "socat_p50_us", socat[0]
    yield "socat_p99_us", socat[1]
    yield "http_getstatus_per_s", http_rate(ctx, ctx.options.http_seconds)
