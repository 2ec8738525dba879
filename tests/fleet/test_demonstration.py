"""./scripts/fleet without its packages' installation: what it shows, and that nothing is left behind."""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

FLEET = pathlib.Path(__file__).resolve().parent.parent.parent / "fleet"


def descendants(of):
    found = subprocess.run(["pgrep", "-P", str(of)], capture_output=True, text=True, check=False).stdout.split()
    return [int(x) for x in found] + [y for x in found for y in descendants(x)]


class Demonstration(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.process = subprocess.Popen(
            [sys.executable, "-m", "simulation.demonstration", "--tills", "8", "--keep"],
            env={**os.environ, "PYTHONPATH": str(FLEET), "TMPDIR": self.folder},
            stdout=subprocess.PIPE,
            text=True,
        )
        self.addCleanup(self.process.stdout.close)
        self.addCleanup(self.process.kill)

    def read_until(self, words):
        text = ""
        for line in self.process.stdout:
            text += line
            if words in line:
                return text
        raise AssertionError(f"{words!r} not in {text!r}")

    def interrupt(self, number):
        started = descendants(self.process.pid)
        self.assertTrue(started)
        self.process.send_signal(number)
        self.assertIn("nothing is left behind", self.process.stdout.read())
        self.assertEqual(self.process.wait(20), 0)
        self.assertEqual(os.listdir(self.folder), [])
        self.assertEqual([pid for pid in started if os.path.exists(f"/proc/{pid}")], [])

    def test_shows_a_message_and_the_drives_with_the_least_days_left(self):
        text = self.read_until("Ctrl-C ends it")
        self.assertRegex(text, r"SSD sda of till till-00006 is worn 96%: replace it")
        self.assertRegex(text, r"\n(till-\d+ .* \d+ % +\d+  20\d\d-\d\d-\d\d\n){10}")
        self.interrupt(signal.SIGINT)

    def test_is_gone_when_it_is_ended_on_its_way(self):
        self.read_until("Prometheus at")
        self.interrupt(signal.SIGTERM)
