"""The command's metrics, and that the simulated tills and the collector tell the same ones."""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import time
import unittest

import object_manager
from simulation import tills

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
SSDLIFE = ROOT / "build" / os.environ.get("VEKSSD_PRESET", "release") / "bin/ssdlife"
COLLECT = ROOT / "fleet/collect-cim"


def checked(test, text):
    """The text, which promtool must find without fault."""
    done = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True, check=False)
    test.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""), text)
    return text


def ssdlife(machine):
    return subprocess.run(
        [SSDLIFE, "--machine", machine, "--format", "prometheus", "list"], capture_output=True, text=True, check=True
    ).stdout


def shape(text):
    """Help, types, names and labels, without values."""
    found = set()
    for line in text.splitlines():
        if line.startswith("#"):
            found.add(line)
        else:
            found.add((line.partition("{")[0], tuple(re.findall(r'[{,]([a-z_]+)="', line))))
    return {x for x in found if not re.match(r"(# \S+ )?(node_|ssdlife_collect_)", x if isinstance(x, str) else x[0])}


class Metrics(unittest.TestCase):
    def setUp(self):
        self.of_command = checked(self, ssdlife(ROOT / "simulator/machines/till.json"))

    def test_of_a_drive_with_a_hostile_name_stay_metrics(self):
        machine = json.loads((ROOT / "simulator/machines/till.json").read_text())
        for drive in machine["drives"]:
            drive["model"], drive["serial"] = 'a"b\\c\nd{}', '"} 1\n'
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            json.dump(machine, file)
            file.flush()
            text = checked(self, ssdlife(file.name))
        self.assertIn(r'model="a\"b\\c?d{}"', text)

    def test_of_a_simulated_till_are_those_of_the_command(self):
        till = tills.make_fleet(1, time.time())[0]
        page = checked(self, till.page(time.time()))
        self.assertLessEqual(shape(page), shape(self.of_command))

    def test_of_the_collector_are_those_of_the_command(self):
        # For the same till, as real object managers described it.
        for recorded in sorted((HERE / "recorded").glob("*.xml")):
            with self.subTest(recorded.name), tempfile.TemporaryDirectory() as folder:
                server = object_manager.Server({"t1": recorded.read_bytes()})
                self.addCleanup(server.server_close)
                self.addCleanup(server.shutdown)
                file = pathlib.Path(folder) / "tills"
                file.write_text(f"t1: http://t1:x@127.0.0.1:{server.server_port}\n")
                file.chmod(0o600)
                done = subprocess.run([COLLECT, file], capture_output=True, text=True, check=True)
                metrics = checked(self, done.stdout).replace('instance="t1",', "").splitlines()
                of_drives = {x for x in metrics if "ssdlife_collect_" not in x}
                self.assertGreater(len(of_drives), 12)
                self.assertLessEqual(of_drives, set(self.of_command.splitlines()))
