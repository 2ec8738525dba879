"""The real Prometheus and Alertmanager on ports of the loopback, with data that is thrown away."""

import contextlib
import ctypes
import http.server
import json
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time
import urllib.error
import urllib.parse
import urllib.request

FLEET = pathlib.Path(__file__).resolve().parent.parent
PR_SET_PDEATHSIG = 1


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_for(what, condition, seconds=60.0):
    """What the condition returns, once that is true."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if result := condition():
            return result
        time.sleep(0.2)
    raise TimeoutError(f"{what}: not within {seconds:.0f} s")


def die_with_parent():
    ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


class Webhook:
    """Takes what Alertmanager sends; `messages` are its JSON documents in their order."""

    def __init__(self):
        self.messages = messages = []

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                messages.append(json.loads(self.rfile.read(int(self.headers["Content-Length"]))))
                self.send_response(200)
                self.end_headers()

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def alerts(self):
        return [alert for message in self.messages for alert in message["alerts"]]


class Servers(contextlib.ExitStack):
    """Owns a folder and the processes in it; both are gone when the stack ends."""

    def __init__(self):
        super().__init__()
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ssdlife-fleet-"))
        self.callback(shutil.rmtree, self.folder, ignore_errors=True)
        self.webhook = Webhook()
        self.callback(self.webhook.server.shutdown)
        self.port = free_port()
        self.alert_port = free_port()
        self.data = self.folder / "data"
        self.processes = []

    def __exit__(self, *details):
        # A second Ctrl-C must not keep the first from cleaning up.
        before = signal.signal(signal.SIGINT, signal.SIG_IGN)
        try:
            return super().__exit__(*details)
        finally:
            signal.signal(signal.SIGINT, before)

    @property
    def url(self):
        return f"http://127.0.0.1:{self.port}"

    @property
    def alert_url(self):
        return f"http://127.0.0.1:{self.alert_port}"

    def start(self, name, *command):
        log = self.enter_context(open(self.folder / f"{name}.log", "wb"))
        process = subprocess.Popen(command, stdout=log, stderr=log, cwd=self.folder, preexec_fn=die_with_parent)

        def end():
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()

        self.callback(end)
        self.processes.append(process)
        return process

    def configure(self, targets, faster=True, scrape="2s"):
        """The files of fleet/ with this run's ports; `faster` lets the rules' clocks run in seconds."""
        rules = (FLEET / "rules/ssdlife.rules.yml").read_text()
        if faster:
            rules = rules.replace("interval: 1h", "interval: 5s").replace("[30d] offset 1h", "[30d] offset 5s")
            rules = rules.replace("interval: 2m", "interval: 2s")
        (self.folder / "rules").mkdir()
        (self.folder / "rules/ssdlife.rules.yml").write_text(rules)
        prometheus = (FLEET / "prometheus.yml").read_text()
        prometheus = prometheus.replace("127.0.0.1:9093", f"127.0.0.1:{self.alert_port}")
        prometheus = prometheus.replace("scrape_interval: 1m", f"scrape_interval: {scrape}\n  scrape_timeout: {scrape}")
        (self.folder / "prometheus.yml").write_text(prometheus)
        (self.folder / "tills").mkdir()
        (self.folder / "tills/tills.json").write_text(targets)
        alerts = (FLEET / "alertmanager.yml").read_text()
        alerts = alerts.replace("127.0.0.1:5001", f"127.0.0.1:{self.webhook.server.server_port}")
        if faster:
            alerts = re.sub(r"group_(wait|interval): \w+", r"group_\1: 1s", alerts)
        (self.folder / "alertmanager.yml").write_text(alerts)

    def start_alertmanager(self):
        self.start(
            "alertmanager",
            "prometheus-alertmanager",
            f"--config.file={self.folder}/alertmanager.yml",
            f"--storage.path={self.folder}/alerts",
            f"--web.listen-address=127.0.0.1:{self.alert_port}",
            "--cluster.listen-address=",
        )
        wait_for("Alertmanager", lambda: self.answers(f"{self.alert_url}/-/ready"))

    def start_prometheus(self, *more):
        process = self.start(
            "prometheus",
            "prometheus",
            f"--config.file={self.folder}/prometheus.yml",
            f"--storage.tsdb.path={self.data}",
            "--storage.tsdb.retention.time=10y",
            f"--web.listen-address=127.0.0.1:{self.port}",
            f"--web.console.templates={FLEET}/consoles",
            f"--web.console.libraries={FLEET}/consoles",
            *more,
        )
        wait_for("Prometheus", lambda: self.answers(f"{self.url}/-/ready"))
        return process

    def backfill(self, openmetrics):
        subprocess.run(
            ["promtool", "tsdb", "create-blocks-from", "--max-block-duration=13122h", "openmetrics", openmetrics, self.data],
            check=True,
            stdout=subprocess.DEVNULL,
        )

    def answers(self, url):
        try:
            with urllib.request.urlopen(url, timeout=5) as answer:
                return answer.status == 200
        except (urllib.error.URLError, OSError):
            return False

    def get(self, path, **parameters):
        query = "?" + urllib.parse.urlencode(parameters) if parameters else ""
        with urllib.request.urlopen(f"{self.url}{path}{query}", timeout=180) as answer:
            return answer.read().decode()

    def query(self, expression, **parameters):
        """The vector that an instant query answers."""
        return json.loads(self.get("/api/v1/query", query=expression, **parameters))["data"]["result"]

    def value(self, expression):
        found = self.query(expression)
        return float(found[0]["value"][1]) if found else None
