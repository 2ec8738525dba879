"""The rules and example configurations, by Prometheus' and Alertmanager's own checkers."""

import pathlib
import subprocess
import unittest

HERE = pathlib.Path(__file__).resolve().parent
FLEET = HERE.parent.parent / "fleet"


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(done.stdout + done.stderr)
    return done.stdout


class Files(unittest.TestCase):
    def test_prometheus_takes_the_example_with_its_rules(self):
        self.assertIn("rules found", run("promtool", "check", "config", FLEET / "prometheus.yml"))

    def test_alertmanager_takes_the_example(self):
        run("amtool", "check-config", FLEET / "alertmanager.yml")

    def test_alerts_go_to_the_shops_and_information_to_nobody(self):
        for severity, receiver in (("critical", "shops"), ("warning", "shops"), ("info", "nobody")):
            found = run("amtool", "config", "routes", "test", f"--config.file={FLEET}/alertmanager.yml", f"severity={severity}")
            self.assertEqual(found.strip(), receiver)


class Alerts(unittest.TestCase):
    """A file each in rules/."""


def add(path):
    name = "test_" + path.name.removesuffix(".test.yml").replace("-", "_")
    setattr(Alerts, name, lambda self: run("promtool", "test", "rules", path))


for file in sorted((HERE / "rules").glob("*.test.yml")):
    add(file)
