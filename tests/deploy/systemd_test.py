# SPDX-License-Identifier: LGPL-2.1-or-later
import fnmatch
import pathlib
import re
import shlex
import shutil
import subprocess
import unittest

from deployment import DEPLOY, INSTALLED, Deployment, streams_and_shard

UNIT = DEPLOY / "systemd/zq-monitor.service"
TEMPLATE = DEPLOY / "systemd/zq-monitor@.service"


def service_of(path):
    """The settings of its [Service], each with all its values."""
    text = re.sub(r"\\\n", " ", path.read_text())
    settings = {}
    for name, value in re.findall(r"^(\w+)=(.*)$", text[text.index("[Service]") :], re.MULTILINE):
        settings.setdefault(name, []).append(value)
    return settings


def command_of(path, setting, instance=""):
    """Its words, as systemd makes them of a command line."""
    service = service_of(path)
    (line,) = service[setting]
    environment = dict(pair.split("=", 1) for pair in service["Environment"][0].split())
    line = line.replace("%i", instance).replace("%I", instance.replace("-", "/"))
    line = re.sub(r"\$\{?([A-Z_]+)\}?", lambda name: environment[name[1]], line)
    return shlex.split(line)


class TheUnits(Deployment):
    def test_start_the_program_with_arguments_that_it_takes(self):
        for setting in ("ExecStartPre", "ExecStart"):
            program, *arguments = command_of(UNIT, setting)
            self.assertEqual(program, INSTALLED)
            self.assert_is_taken(arguments)

    def test_of_the_template_each_takes_its_part(self):
        for setting in ("ExecStartPre", "ExecStart"):
            held = []
            for instance in ("0-3", "1-3", "2-3"):
                program, *arguments = command_of(TEMPLATE, setting, instance)
                self.assertEqual(program, INSTALLED)
                self.assertIn(instance.replace("-", "/"), arguments)
                listed, shard = streams_and_shard(self.assert_is_taken(arguments))
                self.assertEqual(listed, 2)
                held.append(shard)
            self.assertEqual(sum(held), 2)

    def test_what_they_may_not_do_is_the_same_for_both(self):
        own = ("Environment", "EnvironmentFile", "ExecStartPre", "ExecStart")
        unit, template = ({k: v for k, v in service_of(path).items() if k not in own} for path in (UNIT, TEMPLATE))
        self.assertEqual(unit, template)

    @unittest.skipUnless(shutil.which("systemd-analyze"), "there is no systemd-analyze")
    def test_are_exposed_by_less_than_three_of_ten(self):
        for path in (UNIT, TEMPLATE):
            command = ["systemd-analyze", "security", "--offline=true", "--no-pager", "--threshold=29", path]
            looked_at = subprocess.run(command, capture_output=True, text=True, timeout=60)
            self.assertEqual(looked_at.returncode, 0, looked_at.stdout + looked_at.stderr)
            self.assertIn("Overall exposure level", looked_at.stdout)

    def test_their_events_are_what_logrotate_takes_away(self):
        rotated = re.search(r"^(/\S+) \{$", (DEPLOY / "logrotate/zq-monitor").read_text(), re.MULTILINE)[1]
        for path in (UNIT, TEMPLATE):
            command = command_of(path, "ExecStart", "0-3")
            self.assertTrue(fnmatch.fnmatch(command[command.index("--events") + 1], rotated))


class TheKernelsSettings(unittest.TestCase):
    def test_are_some_that_it_has(self):
        text = (DEPLOY / "sysctl/60-zq-monitor.conf").read_text()
        settings = re.findall(r"^([a-z._]+) = (\d+)$", text, re.MULTILINE)
        self.assertEqual(len(settings), len(re.findall(r"^[^#\n]", text, re.MULTILINE)))
        for name, _ in settings:
            path = pathlib.Path("/proc/sys", *name.split("."))
            # Those of the whole machine are not seen from within a container with a network of its own.
            if pathlib.Path("/proc/sys/net/core/rmem_max").exists():
                self.assertTrue(path.exists(), name)


if __name__ == "__main__":
    unittest.main()
