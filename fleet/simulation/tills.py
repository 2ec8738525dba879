"""Simulated tills: what their drives are, how they wear over years, and the metrics that they tell.

The metrics are those of `ssdlife --format prometheus list`, which a test holds them to, and the file
time that the node exporter adds.
"""

import dataclasses
import http.server
import json
import math
import random
import threading
import time

DAY = 86400
THRESHOLD = 95

SITES = ("Graz", "Linz", "Salzburg", "Wien Mitte", "Wien West", "Villach", "Wels", "Bregenz")
MODELS = ("TS64GHSD630", "KINGSTON SNV2S250G", "SAMSUNG MZ7LN256HAJQ", "INTEL SSDSC2KB240G8")
# What a drive may call itself. The command has made control characters and what is no UTF-8 into
# question marks.
HOSTILE_MODEL = "<script>document.title='taken'</script> \"quoted\" \\ {{.}} ?"


def escaped(text):
    """A label's value in the text format."""
    return text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n")


@dataclasses.dataclass
class Drive:
    device: str
    model: str
    serial: str
    firmware: str
    born: float  # when it was new, seconds since 1970
    per_day: float  # points of the percentage
    set_back: float = math.inf  # when a firmware update halved the count
    silent_from: float = math.inf
    until: float = math.inf  # when it was replaced
    extra: int = 0  # points that somebody added

    def percentage(self, when):
        """What it tells at a time; nothing where it tells nothing. Sales before Christmas wear more."""
        if when >= self.silent_from:
            return None
        age = (when - self.born) / DAY
        season = 15 * (1 - math.cos(2 * math.pi * (when / DAY % 365.25 - 340) / 365.25))
        points = self.per_day * max(0, age - season)
        if when >= self.set_back:
            points -= self.per_day * (self.set_back - self.born) / DAY / 2
        return max(0, min(254, int(points) + self.extra))


@dataclasses.dataclass
class Till:
    name: str
    site: str
    drives: list
    up: bool = True
    file_age: float = 600

    def page(self, when):
        return metrics(self.drives_at(when), when) + (
            "# HELP node_textfile_mtime_seconds Unixtime mtime of textfiles successfully read.\n"
            "# TYPE node_textfile_mtime_seconds gauge\n"
            'node_textfile_mtime_seconds{file="/var/lib/prometheus/node-exporter/ssdlife.prom"}'
            f" {when - self.file_age:.0f}\n"
        )

    def drives_at(self, when):
        return [d for d in self.drives if d.born <= when < d.until]


FAMILIES = (
    ("ssdlife_info", "gauge", "What the SSD calls itself and where its wear is read; always 1."),
    ("ssdlife_rated_life_used_ratio", "gauge", "Share of the SSD's rated life that is used; 1 is all of it, more is possible."),
    ("ssdlife_powered_on_seconds_total", "counter", "Time that the SSD has been powered on, which it counts in hours."),
    ("ssdlife_failure_imminent", "gauge", "Whether the SSD's wear is over the limit that the provider is configured for."),
)


def sample(name, drive, when):
    """The labels and value of a metric of a drive, or nothing."""
    percentage = drive.percentage(when)
    label = f'device="{drive.device}"'
    if name == "ssdlife_info":
        source = "none" if percentage is None else "standard statistic"
        return (
            f'{label},model="{escaped(drive.model)}",serial_number="{escaped(drive.serial)}",'
            f'firmware_version="{escaped(drive.firmware)}",source="{source}"',
            "1",
        )
    if name == "ssdlife_rated_life_used_ratio":
        return None if percentage is None else (label, f"{percentage / 100:.2f}")
    if name == "ssdlife_powered_on_seconds_total":
        return label, str(int((when - drive.born) * 14 / 24 / 3600) * 3600)
    return label, "1" if percentage is not None and percentage > THRESHOLD else "0"


def metrics(drives, when):
    lines = []
    for name, kind, text in FAMILIES:
        lines += [f"# HELP {name} {text}", f"# TYPE {name} {kind}"]
        for drive in drives:
            if (found := sample(name, drive, when)) is not None:
                lines.append(f"{name}{{{found[0]}}} {found[1]}")
    return "\n".join(lines) + "\n"


def make_fleet(count, now, seed=1):
    """So many tills with two drives each. Of every forty, one is silent, one repeats an old file, one
    has a drive that tells nothing, one whose drive was replaced, one that a firmware update set back,
    and one whose drive is due within weeks. The first till's drive has a hostile name, the seventh's is
    at its limit."""
    dice = random.Random(seed)
    return [_make_till(dice, number, now) for number in range(count)]


def _make_till(dice, number, now):
    drives = []
    for device in ("sda", "nvme0"):
        age = dice.uniform(200, 5 * 365) * DAY
        end = dice.betavariate(2, 3) * 100  # what it has reached by now
        drives.append(
            Drive(
                device,
                dice.choice(MODELS),
                f"{dice.randrange(16**8):08X}",
                "1.0",
                now - age,
                end / (age / DAY),
            )
        )
    till = Till(f"till-{number:05d}", SITES[number // 7 % len(SITES)], drives)
    kind = number % 40
    first = drives[0]
    if number == 0:
        first.model, first.serial = HOSTILE_MODEL, 'S"1\\'
    elif kind == 1:
        till.up = False
    elif kind == 2:
        till.file_age = 3.5 * DAY
    elif kind == 3:
        first.silent_from = now - 5 * DAY
    elif kind == 4:
        first.until = now - 60 * DAY
        drives.insert(1, dataclasses.replace(first, serial="NEW" + first.serial, born=first.until, until=math.inf))
    elif kind == 5:
        first.set_back = now - 40 * DAY
    elif number == 6:
        # 95 since ten days
        first.born, first.per_day = now - 1010 * DAY, 0.1
        first.extra += THRESHOLD - first.percentage(now)
    elif kind == 7:
        first.born, first.per_day = now - 1000 * DAY, 0.1
        first.extra += THRESHOLD - 3 - first.percentage(now)
    return till


def write_history(fleet, begin, end, file):
    """The five years before the demonstration, a sample a day, as OpenMetrics: what the tills told,
    and what the hourly rules would have kept of it."""

    def days():
        at = end
        while at > begin:
            yield at
            at -= DAY

    moments = sorted(days())
    for name, kind, _ in FAMILIES[:2]:
        file.write(f"# TYPE {name} {kind}\n")
        for till, drive, at in _living(fleet, moments):
            if (found := sample(name, drive, at)) is not None:
                file.write(f'{name}{{job="till",instance="{till.name}",site="{till.site}",{found[0]}}} {found[1]} {at:.0f}\n')
    for name, value in (
        ("drive:ssdlife_rated_life_used:ratio_1h", lambda d, at: d.percentage(at)),
        ("drive:ssdlife_rated_life_used:step", _step),
        ("drive:ssdlife_seen:timestamp_seconds_1h", lambda d, at: at * 100 if at > end - 31 * DAY else None),
    ):
        file.write(f"# TYPE {name} gauge\n")
        for till, drive, at in _living(fleet, moments):
            points = value(drive, at)
            if points is not None:
                labels = f'job="till",instance="{till.name}",serial_number="{escaped(drive.serial)}"'
                if not name.endswith(":step"):
                    labels += f',site="{till.site}",device="{drive.device}",model="{escaped(drive.model)}"'
                file.write(f"{name}{{{labels}}} {points / 100:.2f} {at:.0f}\n")
    file.write("# EOF\n")


def _living(fleet, moments):
    for till in fleet:
        for drive in till.drives:
            for at in moments:
                if drive.born <= at < drive.until:
                    yield till, drive, at


def _step(drive, at):
    now, before = drive.percentage(at), drive.percentage(at - DAY)
    if None in (now, before) or at - DAY < drive.born or not 0 < now - before < 5:
        return None
    return now - before


def serve(fleet, clock=time.time):
    """Serves each till's page under its name on a port of the loopback; returns the server. A till
    that is not up answers with an error, as a dead one would not answer."""
    tills = {f"/{till.name}": till for till in fleet}

    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def do_GET(self):
            till = tills.get(self.path.split("?")[0])
            body = till.page(clock()).encode() if till and till.up else b""
            self.send_response(200 if body else 503)
            self.send_header("Content-Type", "text/plain; version=0.0.4; charset=utf-8")
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body)

        def log_message(self, *_):
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.daemon_threads = True
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


def targets(fleet, port):
    """The tills for Prometheus' file_sd_configs."""
    return json.dumps(
        [
            {
                "targets": [f"127.0.0.1:{port}"],
                "labels": {"instance": till.name, "site": till.site, "__metrics_path__": f"/{till.name}"},
            }
            for till in fleet
        ]
    )
