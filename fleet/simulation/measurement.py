"""What a fleet costs the real Prometheus: `./scripts/fleet --measure MINUTES --tills N`.

With 0 minutes: the bytes of a sample on disk instead, from chunks that are full because the tills are
scraped every second. One process serves the pages of all tills, each a target of its own. The history that the hourly rules look
back upon is made beforehand, with a sample every four hours; they are evaluated every two minutes here
instead of once an hour, so that there is something to measure.
"""

import asyncio
import json
import multiprocessing
import os
import random
import signal
import time
import urllib.request

from simulation import servers, tills

DAY = tills.DAY
TICKS = os.sysconf("SC_CLK_TCK")


def serve_pages(pages, port):
    """In a process of its own: nothing but sending prepared pages, so that Prometheus is what is busy."""

    async def answer(reader, writer):
        try:
            while request := await reader.readuntil(b"\r\n\r\n"):
                writer.write(pages[request.split(b" ", 2)[1].split(b"?")[0]])
                await writer.drain()
        except (asyncio.IncompleteReadError, ConnectionError):
            pass
        writer.close()

    async def serve():
        server = await asyncio.start_server(answer, "127.0.0.1", 0, backlog=4096)
        port.put(server.sockets[0].getsockname()[1])
        await server.serve_forever()

    servers.die_with_parent()
    signal.signal(signal.SIGTERM, signal.SIG_DFL)
    asyncio.run(serve())


def prepared(fleet, now):
    pages = {}
    for till in fleet:
        body = till.page(now).encode()
        head = f"HTTP/1.1 200 OK\r\nContent-Type: text/plain; version=0.0.4\r\nContent-Length: {len(body)}\r\n\r\n"
        pages[f"/{till.name}".encode()] = head.encode() + body
    return pages


def write_lookback(fleet, now, file):
    """What the rules look back upon: 30 days, and the week before the last 90 days."""
    moments = [now - 600 - hours * 3600 for hours in (*range(0, 30 * 24, 4), *range(90 * 24, 97 * 24, 8))]
    moments.sort()
    for name in ("drive:ssdlife_rated_life_used:ratio_1h", "drive:ssdlife_seen:timestamp_seconds_1h"):
        file.write(f"# TYPE {name} gauge\n")
        for till in fleet:
            for drive in till.drives_at(now):
                labels = (
                    f'{name}{{job="till",instance="{till.name}",site="{till.site}",device="{drive.device}",'
                    f'model="{tills.escaped(drive.model)}",serial_number="{tills.escaped(drive.serial)}"}} '
                )
                for at in moments:
                    value = at if "seen" in name else (drive.percentage(at) or 0) / 100
                    file.write(f"{labels}{value:.2f} {at:.0f}\n")
    file.write("# TYPE drive:ssdlife_rated_life_used:step gauge\n")
    dice = random.Random(1)
    for till in fleet:
        for drive in till.drives_at(now):
            at = now - 90 * DAY
            while drive.per_day and (at := at + dice.uniform(0.5, 1.5) * DAY / drive.per_day) < now - 600:
                file.write(
                    f'drive:ssdlife_rated_life_used:step{{job="till",instance="{till.name}",'
                    f'serial_number="{tills.escaped(drive.serial)}"}} 0.01 {at:.0f}\n'
                )
    file.write("# EOF\n")


def start_pages(fleet, now):
    port = multiprocessing.Queue()
    multiprocessing.Process(target=serve_pages, args=(prepared(fleet, now), port), daemon=True).start()
    return port.get()


def measure_disk(server, count):
    now = time.time()
    fleet = tills.make_fleet(count, now)
    server.configure(tills.targets(fleet, start_pages(fleet, now)), scrape="1s")
    server.start_prometheus("--web.enable-admin-api")
    servers.wait_for("all tills", lambda: server.value("count(up)") == count)
    time.sleep(140)  # a chunk holds 120 samples
    request = urllib.request.Request(f"{server.url}/api/v1/admin/tsdb/snapshot", method="POST")
    with urllib.request.urlopen(request) as answer:
        name = json.load(answer)["data"]["name"]
    (block,) = (server.data / "snapshots" / name).iterdir()
    samples = json.loads((block / "meta.json").read_text())["stats"]["numSamples"]
    chunks = sum(file.stat().st_size for file in (block / "chunks").iterdir())
    print(f"{samples} samples, {chunks / samples:.2f} bytes each; index {(block / 'index').stat().st_size / count:.0f} bytes a till and block")


def processor_seconds(process):
    with open(f"/proc/{process.pid}/stat", encoding="ascii") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def measure(server, count, minutes):
    if minutes == 0:
        measure_disk(server, count)
        return
    now = time.time()
    fleet = tills.make_fleet(count, now)
    history = server.folder / "history.om"
    with open(history, "w", encoding="utf-8") as file:
        write_lookback(fleet, now, file)
    server.configure(tills.targets(fleet, start_pages(fleet, now)), faster=False, scrape="1m")
    rules = server.folder / "rules/ssdlife.rules.yml"
    rules.write_text(rules.read_text().replace("interval: 1h", "interval: 2m"))
    settings = server.folder / "prometheus.yml"
    settings.write_text(settings.read_text().replace("global:\n", f"global:\n  query_log_file: {server.folder}/queries.log\n"))
    server.backfill(history)
    history.unlink()
    process = server.start_prometheus()
    servers.wait_for("all tills", lambda: server.value("count(up)") == count, 180)
    servers.wait_for("a forecast", lambda: server.query("count(drive:ssdlife_threshold:days_left)"), 300)
    # Two scrapes and two evaluations of every rule later.
    time.sleep(max(0, minutes - 2) * 60)
    before, began = processor_seconds(process), time.monotonic()
    time.sleep(120)
    share = (processor_seconds(process) - before) / (time.monotonic() - began)

    own = {}
    for line in server.get("/metrics").splitlines():
        name, _, value = line.rpartition(" ")
        if not line.startswith("#"):
            own[name] = float(value)
    print(f"tills {count}, drives {server.value('count(drive:ssdlife_seen:timestamp_seconds)'):.0f}")
    print(f"series {own['prometheus_tsdb_head_series']:.0f}, of a till {server.value('max(scrape_samples_post_metric_relabeling)') + 5:.0f}")
    samples = count * (server.value("avg(scrape_samples_post_metric_relabeling)") + 5) / 60
    print(f"samples {samples:.0f} a second by scraping; load of Prometheus {100 * share:.1f} % of a processor")
    with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
        resident = next(int(line.split()[1]) for line in file if line.startswith("VmRSS"))
    print(f"memory {resident / 1024:.0f} MiB resident")
    print(f"slowest scrape {server.value('max(scrape_duration_seconds)'):.3f} s")
    for group in json.loads(server.get("/api/v1/rules"))["data"]["groups"]:
        print(f"rules of {group['name']} {group['evaluationTime']:.3f} s, slowest {max(r['evaluationTime'] for r in group['rules']):.3f} s")
    log = server.folder / "queries.log"
    for page in ("", "?instance=till-00000"):
        size = log.stat().st_size
        began = time.monotonic()
        server.get(f"/consoles/ssdlife.html{page}")
        whole = time.monotonic() - began
        with open(log, encoding="utf-8") as file:
            file.seek(size)
            entries = [json.loads(line) for line in file]
        ours = [(e["stats"]["timings"]["execTotalTime"], e["params"]["query"]) for e in entries if "ruleGroup" not in e]
        print(f"page{page} {whole:.3f} s, {len(ours)} queries, slowest {max(ours)[0]:.3f} s: {max(ours)[1][:70]}")
