"""Twenty simulated tills on the real Prometheus and Alertmanager: rules, messages, page, dashboard."""

import json
import os
import pathlib
import re
import subprocess
import time
import unittest

from simulation import servers, tills

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SHOTS = ROOT / "build/fleet"
DAY = tills.DAY


def setUpModule():
    global fleet, server, now
    server = servers.Servers()
    unittest.addModuleCleanup(server.close)
    now = time.time()
    fleet = tills.make_fleet(20, now)
    history = server.folder / "history.om"
    with open(history, "w", encoding="utf-8") as file:
        tills.write_history(fleet, now - 2 * 365 * DAY, now - 600, file)
    server.configure(tills.targets(fleet, tills.serve(fleet).server_port))
    server.backfill(history)
    server.start_alertmanager()
    server.start_prometheus()
    servers.wait_for("all tills", lambda: server.value("count(up)") == 20 and server.value("count(ssdlife_info)") == 38)
    servers.wait_for("an alert", lambda: server.query('ALERTS{alertstate="firing"}'))
    servers.wait_for("a forecast", lambda: server.query("drive:ssdlife_threshold:days_left"))


def days_left(drive):
    """The forecast, made from the simulated drive itself."""
    told = [drive.percentage(now - back * DAY) for back in range(91)]
    wear = sum(new - old for new, old in zip(told, told[1:]) if 0 < new - old < 5)
    return (95 - told[0]) / wear * 90 if wear else None


class Rules(unittest.TestCase):
    def test_are_all_evaluated(self):
        groups = json.loads(server.get("/api/v1/rules"))["data"]["groups"]
        self.assertEqual(len(groups), 4)
        self.assertEqual([r["lastError"] for g in groups for r in g["rules"] if r["health"] != "ok"], [])

    def test_foretell_what_the_drives_wear(self):
        compared = 0
        for till in fleet[:6] + fleet[7:]:  # the drive of that one is replaced by another test
            for drive in till.drives_at(now):
                if drive.born < now - 98 * DAY and drive.set_back > now and drive.percentage(now) is not None and till.up:
                    expected = days_left(drive)
                    found = server.value(
                        f'drive:ssdlife_threshold:days_left{{instance="{till.name}",device="{drive.device}"}}'
                    )
                    with self.subTest(till=till.name, device=drive.device):
                        if expected is None:
                            self.assertIsNone(found)
                        else:
                            # A step may fall between the two clocks.
                            self.assertAlmostEqual(found / expected, 1, delta=0.25)
                            compared += 1
        self.assertGreater(compared, 25)

    def test_count_each_drive_in_one_state(self):
        self.assertEqual(server.value("sum(site:ssdlife_drives:count)"), 40)
        self.assertEqual(server.value('sum(site:ssdlife_drives:count{state="unknown"})'), 1)
        self.assertAlmostEqual(server.value("sum(fleet:ssdlife_drives:ratio)"), 1)

    def test_bear_a_till_that_is_switched_off(self):
        self.assertEqual(server.value('count(drive:ssdlife_rated_life_used:ratio{instance="till-00001"})'), 2)


class Messages(unittest.TestCase):
    def amtool(self, *arguments):
        done = subprocess.run(
            ["amtool", f"--alertmanager.url={server.alert_url}", *arguments], capture_output=True, text=True, check=False
        )
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def received(self, **labels):
        return [a for a in server.webhook.alerts() if labels.items() <= a["labels"].items()]

    def test_tell_of_a_drive_that_passes_its_limit_and_of_its_replacement(self):
        till = fleet[6]
        worn = till.drives[0]
        labels = {"alertname": "SsdlifeOverThreshold", "instance": till.name}
        self.assertEqual(self.received(**labels), [])
        worn.extra += 1
        servers.wait_for("the message", lambda: self.received(**labels))
        (alert,) = self.received(**labels)
        self.assertEqual(alert["annotations"]["summary"], f"SSD sda of till {till.name} is worn 96%: replace it")
        self.assertRegex(
            alert["annotations"]["description"],
            rf"^{worn.model}, serial number {worn.serial}, site {till.site}, is over its threshold. "
            r"Its rated life ends on 20\d\d-\d\d-\d\d.$",
        )
        worn.until = time.time()
        till.drives.append(tills.Drive("sda", worn.model, "REPLACEMENT", "1.0", worn.until, 0.1))
        servers.wait_for("the end", lambda: [a for a in self.received(**labels) if a["status"] == "resolved"])

    def test_are_one_for_a_site_that_lost_its_power(self):
        for number in range(8):
            self.amtool("alert", "add", "SsdlifeMetricsAbsent", "site=Dark", f"instance=till-9{number}", "severity=warning")
        servers.wait_for("all tills", lambda: len({a["labels"]["instance"] for a in self.received(site="Dark")}) == 8)
        messages = [m for m in server.webhook.messages if m["groupLabels"] == {"site": "Dark"}]
        # Adding them takes longer here than the second that the first message waits.
        self.assertLess(len(messages), 8)
        self.assertEqual(len(messages[-1]["alerts"]), 8)

    def test_are_silenced_by_serial_number(self):
        self.amtool("silence", "add", "--duration=2h", "--author=test", "--comment=replaced today", "serial_number=BEING-REPLACED")
        for serial in ("BEING-REPLACED", "ANOTHER"):
            self.amtool("alert", "add", "SsdlifeOverThreshold", f"site=Silent {serial}", f"serial_number={serial}", "severity=critical")
        servers.wait_for("the other drive's", lambda: self.received(serial_number="ANOTHER"))
        time.sleep(1.5)  # the time that a group waits, and a half
        self.assertEqual(self.received(serial_number="BEING-REPLACED"), [])

    def test_that_only_inform_are_not_sent(self):
        self.amtool("alert", "add", "SsdlifeDriveReplaced", "site=Info", "severity=info")
        self.amtool("alert", "add", "SsdlifeMetricsOld", "site=Info 2", "severity=warning")
        servers.wait_for("the warning", lambda: self.received(site="Info 2"))
        self.assertEqual(self.received(site="Info"), [])


class Page(unittest.TestCase):
    def show(self, name, path, width=1200):
        """What Chromium makes of a page, of which it also takes a picture."""
        SHOTS.mkdir(parents=True, exist_ok=True)
        done = subprocess.run(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-background-networking",
             "--disable-component-update", "--disable-sync", f"--user-data-dir={server.folder}/chromium",
             "--virtual-time-budget=10000", f"--window-size={width},1400", "--hide-scrollbars",
             f"--screenshot={SHOTS}/{name}.png", "--dump-dom", server.url + path],
            capture_output=True, text=True, check=False, timeout=90,
        )
        self.assertEqual(done.returncode, 0, done.stderr[-500:])
        self.assertGreater((SHOTS / f"{name}.png").stat().st_size, 5000)
        return done.stdout

    def rows(self, dom, table):
        return re.search(rf'<table id="{table}">(.*?)</table>', dom, re.S)[1].count("<tr>")

    def test_shows_the_fleet(self):
        dom = self.show("fleet", "/consoles/ssdlife.html")
        self.assertEqual(self.rows(dom, "silent"), 1 + 1)
        self.assertEqual(self.rows(dom, "sites"), 1 + len({t.site for t in fleet}))
        self.assertEqual(self.rows(dom, "models"), 1 + len({d.model for t in fleet for d in t.drives_at(now)}))
        self.assertGreater(self.rows(dom, "least"), 30)
        self.assertGreaterEqual(self.rows(dom, "distribution"), 6)
        least = re.search(r'<table id="least">(.*?)</table>', dom, re.S)[1]
        left = [float(x) for x in re.findall(r'<td class="n">(\d+)</td>', least)]
        self.assertEqual(left, sorted(left))

    def test_shows_a_till_with_its_curves(self):
        dom = self.show("till", "/consoles/ssdlife.html?instance=till-00004", width=420)
        # Two drives, and the one that was replaced has its curve, too.
        self.assertEqual(self.rows(dom, "drives"), 1 + 2)
        self.assertEqual(dom.count("<polyline"), 3)

    def test_escapes_what_a_drive_calls_itself(self):
        for name, path in (("fleet-hostile", "/consoles/ssdlife.html"), ("till-hostile", "/consoles/ssdlife.html?instance=till-00000")):
            dom = self.show(name, path)
            self.assertIn("&lt;script&gt;document.title='taken'&lt;/script&gt; \"quoted\" \\ {{.}} ?", dom)
            self.assertNotIn("<title>taken", dom)
        for instance in ('"} or vector(1) #', "</title><script>1</script>", "{{ 1 }}", "nobody"):
            page = server.get("/consoles/ssdlife.html", instance=instance)
            self.assertIn("This till has told of no drive", page)
            self.assertEqual(page.count("<script"), 1)


class Dashboard(unittest.TestCase):
    def test_asks_only_what_prometheus_answers(self):
        text = (ROOT / "fleet/grafana/ssdlife.json").read_text()
        dashboard = json.loads(text)
        queries = [(p["title"], t["expr"]) for p in dashboard["panels"] for t in p["targets"]]
        self.assertGreaterEqual(len(queries), 9)
        for title, expression in queries:
            for variable, value in (("$site", ".*"), ("$instance", "till-00004"), ("$__interval", "1d")):
                expression = expression.replace(variable, value)
            with self.subTest(title):
                self.assertTrue(server.query(expression), expression)

    def test_offers_sites_and_tills(self):
        variables = json.loads((ROOT / "fleet/grafana/ssdlife.json").read_text())["templating"]["list"]
        for variable in variables:
            if variable["type"] == "query":
                selector, label = re.fullmatch(r"label_values\((.*), (\w+)\)", variable["query"]).groups()
                found = {x["metric"][label] for x in server.query(selector.replace("$site", ".*"))}
                self.assertGreater(len(found), 2, variable["name"])


class Servers(unittest.TestCase):
    def test_listen_on_the_loopback_only(self):
        sockets = set()
        for process in server.processes:
            for link in pathlib.Path(f"/proc/{process.pid}/fd").iterdir():
                if match := re.fullmatch(r"socket:\[(\d+)\]", os.readlink(link)):
                    sockets.add(match[1])
        listening = []
        for table in ("tcp", "tcp6"):
            for line in pathlib.Path(f"/proc/net/{table}").read_text().splitlines()[1:]:
                field = line.split()
                if field[3] == "0A" and field[9] in sockets:
                    listening.append(field[1].split(":")[0])
        self.assertEqual(listening, ["0100007F"] * 2)
