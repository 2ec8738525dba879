"""What ./scripts/fleet shows."""

import argparse
import signal
import time

from simulation import measurement, servers, tills

YEARS = 5


def note(text):
    print(f"{time.monotonic() - begin:5.0f} s  {text}", flush=True)


def show_least(server, count):
    print(f"\nThe {count} drives with the least days left:\n")
    print(f"{'till':<12} {'site':<12} {'drive':<6} {'model':<22} {'serial':<10} {'used':>5} {'days':>6}  over on")
    for found in server.query(f"sort(bottomk({count}, drive:ssdlife_threshold:days_left unless drive:ssdlife_failure_imminent:bool == 1))"):
        drive, days = found["metric"], float(found["value"][1])
        where = f'{{instance="{drive["instance"]}",device="{drive["device"]}"}}'
        used = 100 * server.value(f"drive:ssdlife_rated_life_used:ratio{where}")
        over = time.strftime("%Y-%m-%d", time.gmtime(time.time() + 86400 * days))
        print(
            f"{drive['instance']:<12} {drive['site']:<12} {drive['device']:<6} {drive['model'][:22]:<22} "
            f"{drive['serial_number'][:10]:<10} {used:>3.0f} % {days:>6.0f}  {over}"
        )
    print()


def demonstrate(server, count, keep):
    now = time.time()
    fleet = tills.make_fleet(count, now)
    history = server.folder / "history.om"
    with open(history, "w", encoding="utf-8") as file:
        tills.write_history(fleet, now - YEARS * 365 * tills.DAY, now - 600, file)
    note(f"{count} tills have lived through {YEARS} years: {history.stat().st_size / 1e6:.0f} MB of metrics")
    server.configure(tills.targets(fleet, tills.serve(fleet).server_port), scrape="5s")
    server.backfill(history)
    history.unlink()
    note("Prometheus has their history (promtool tsdb create-blocks-from openmetrics)")
    server.start_alertmanager()
    server.start_prometheus()
    drives = sum(len(till.drives_at(now)) for till in fleet)
    servers.wait_for("all drives", lambda: server.value("count(drive:ssdlife_seen:timestamp_seconds)") == drives)
    servers.wait_for("a forecast", lambda: server.query("drive:ssdlife_threshold:days_left"))
    servers.wait_for("all tills", lambda: server.value("count(up)") == count)
    note(f"Prometheus at {server.url} scrapes the tills and knows {drives} drives")
    for state in ("over", "soon", "unknown", "good"):
        print(f"{'':9}{state:<8} {server.value(f'sum(site:ssdlife_drives:count{{state={state!r}}})') or 0:>6.0f}")

    worn = next(till for till in fleet if till.drives[0].percentage(now) == tills.THRESHOLD)
    worn.drives[0].extra += 1
    passed = time.monotonic()
    note(f"{worn.name}: its SSD goes from {tills.THRESHOLD} to {tills.THRESHOLD + 1} %")
    alert = servers.wait_for(
        "the message",
        lambda: [
            a
            for a in server.webhook.alerts()
            if a["labels"]["alertname"] == "SsdlifeOverThreshold" and a["labels"]["instance"] == worn.name
        ],
    )[0]
    note(f"the webhook has been told, after {time.monotonic() - passed:.0f} s (the rules' clocks run fast here):")
    print(f"{'':9}{alert['annotations']['summary']}\n{'':9}{alert['annotations']['description']}")
    show_least(server, 10)
    if keep:
        print(f"The page: {server.url}/consoles/ssdlife.html\nAlertmanager: {server.alert_url}\nCtrl-C ends it.", flush=True)
        signal.pause()


def main():
    parser = argparse.ArgumentParser(prog="fleet", description="A fleet of simulated tills on the real Prometheus.")
    parser.add_argument("--tills", type=int, default=200, metavar="N", help="how many, from 7 (200)")
    parser.add_argument("--measure", type=int, metavar="MINUTES", help="instead: what they cost Prometheus, over so long")
    parser.add_argument("--keep", action="store_true", help="leaves the page open until Ctrl-C")
    arguments = parser.parse_args()
    if not 7 <= arguments.tills <= 99999:
        parser.error("--tills: 7 to 99999")
    # A signal ends it as Ctrl-C does: everything that was started is ended.
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.default_int_handler)
    try:
        with servers.Servers() as server:
            if arguments.measure is not None:
                measurement.measure(server, arguments.tills, arguments.measure)
            else:
                demonstrate(server, arguments.tills, arguments.keep)
    except KeyboardInterrupt:
        print("\nended; nothing is left behind")


begin = time.monotonic()
main()
