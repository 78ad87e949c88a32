"""The remote page in a real browser: velto-sim, a headless slave that serves the page, and
Chromium driven through Selenium, all in a private network namespace, so that nothing the
browser does can leave loopback."""

import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

SLAVE_PORT = 7846  # the namespace is private, so the default port is free
PAGE_URL = f"http://127.0.0.1:{SLAVE_PORT + 1}/"
FAVOURITES = ";firmware=2106\nSlow wave,30,180,10,1,Wave,12,10,40,60,L\n"


def enter_private_network():
    """Re-runs this program in a network namespace of its own with only loopback up, or fails
    loudly: the browser never runs on the host's network."""
    if os.environ.get("VELTO_PRIVATE_NET") != "1":
        os.environ["VELTO_PRIVATE_NET"] = "1"
        unshare = shutil.which("unshare") or sys.exit("browser tests: unshare is missing")
        flags = ["-n"] if os.geteuid() == 0 else ["-r", "-n"]  # unprivileged: in a user namespace
        os.execv(unshare, [unshare, *flags, "--", sys.executable, *sys.argv])
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    links = subprocess.run(["ip", "-o", "link"], check=True, capture_output=True, text=True).stdout
    if [line.split(":")[1].strip() for line in links.splitlines()] != ["lo"]:
        sys.exit(f"browser tests: the namespace is not private:\n{links}")


def wait_until(condition, timeout, what):
    deadline = time.monotonic() + timeout
    while not (value := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"timed out waiting for {what}")
        time.sleep(0.05)
    return value


class Rig:
    """velto-sim (its trace lists the commands the box took), `velto --headless` as an HTTP slave
    with webpage=true, and headless Chromium, in a temporary folder removed afterwards."""

    def __init__(self, velto, sim, favourites=FAVOURITES):
        self.work = tempfile.mkdtemp(prefix="velto-browser-")
        self.trace = os.path.join(self.work, "trace")
        self.sim = subprocess.Popen([sim, "--battery", "531", "--trace", self.trace, "--exit-with-parent"],
                                    stdout=subprocess.PIPE, text=True)
        pty = self.sim.stdout.readline().strip()
        prefs = os.path.join(self.work, "prefs")
        os.makedirs(prefs)
        with open(os.path.join(prefs, "veltoprefs.ini"), "w") as out:
            out.write(f"serial={pty}\nport={SLAVE_PORT}\nmode=slave\nhttp=true\nwebpage=true\n")
        with open(os.path.join(prefs, "veltofavourites.ini"), "w") as out:
            out.write(favourites)
        self.log = os.path.join(self.work, "slave.log")
        self.slave_command = [velto, "--headless", "--prefs", prefs, "--broadcast", "127.255.255.255",
                              "--connect", "--log"]
        self.start_slave()
        self.driver = chromium(self.work)

    def start_slave(self):
        with open(self.log, "a") as log:
            self.slave = subprocess.Popen(self.slave_command, stdout=log, stderr=subprocess.STDOUT)
        def listening():
            with socket.socket() as probe:
                return probe.connect_ex(("127.0.0.1", SLAVE_PORT + 1)) == 0
        wait_until(listening, 15, "the page port")

    def stop_slave(self):
        self.slave.terminate()
        self.slave.wait(10)

    def get(self, line):
        """One request of the slave's HTTP mode, as any web client makes it."""
        with urllib.request.urlopen(f"http://127.0.0.1:{SLAVE_PORT}/{line}", timeout=10) as answer:
            return answer.read().decode()

    def commands(self):
        """The commands the box took, in order."""
        if not os.path.exists(self.trace):
            return []
        with open(self.trace) as trace:
            return [line.partition(" ")[2] for line in trace.read().splitlines()]

    def close(self):
        for process in (self.slave, self.sim):
            if process.poll() is None:
                process.terminate()
                process.wait(10)
        self.sim.stdout.close()
        self.driver.quit()
        shutil.rmtree(self.work, ignore_errors=True)


def chromium(work):
    """Headless Chromium with everything that phones home turned off."""
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service

    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium") or "/usr/bin/chromium"
    for flag in ("--headless=new --no-sandbox --disable-gpu --disable-dev-shm-usage --no-first-run "
                 "--disable-background-networking --disable-component-update --disable-sync "
                 "--disable-default-apps --disable-extensions --no-pings --disable-breakpad "
                 "--disable-domain-reliability --disable-client-side-phishing-detection "
                 "--safebrowsing-disable-auto-update --metrics-recording-only --no-default-browser-check "
                 "--disable-features=OptimizationHints,MediaRouter,Translate,NetworkPrediction,"
                 "AutofillServerCommunication,CertificateTransparencyComponentUpdater "
                 "--window-size=1280,900").split() + [f"--user-data-dir={os.path.join(work, 'chromium')}"]:
        options.add_argument(flag)
    # The driver named outright, so that Selenium never looks for one on the network.
    return webdriver.Chrome(service=Service(shutil.which("chromedriver") or "/usr/bin/chromedriver"),
                            options=options)


def viewport(driver, width, height, scale=1, mobile=False):
    """The page as a screen of that size shows it; `mobile` for a phone's viewport and touch."""
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                           {"width": width, "height": height, "deviceScaleFactor": scale, "mobile": mobile})
    driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": mobile, "maxTouchPoints": 5})
