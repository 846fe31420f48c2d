# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the tests of deploy/ share: the tree, the program that was built, and readers of what is shipped.

ZQ_MONITOR_TOOL in the environment is the program.
"""
import contextlib
import os
import pathlib
import re
import subprocess
import tempfile
import time
import unittest
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parents[2]
DEPLOY = ROOT / "deploy"
TOOL = pathlib.Path(os.environ["ZQ_MONITOR_TOOL"])
INSTALLED = "/usr/bin/zq-monitor"
LIST = "/etc/zq-monitor/streams.toml"

NEWS_AND_SPORT = """
[[stream]]
name = "News"
address = "udp://239.1.1.1:5000"
[[stream]]
name = "Sport"
address = "udp://239.1.1.2:5000"
"""


def documents_of(path):
    """The documents of a file of YAML. Without a reader for it the test is skipped."""
    try:
        import yaml
    except ImportError as missing:
        raise unittest.SkipTest("there is no python3-yaml") from missing
    return list(yaml.safe_load_all(path.read_text()))


class Deployment(unittest.TestCase):
    def assert_is_taken(self, arguments, streams=NEWS_AND_SPORT):
        """The program takes these arguments, with such a list in place of the one that is installed. What it says."""
        with tempfile.NamedTemporaryFile("w", suffix=".toml") as file:
            file.write(streams)
            file.flush()
            words = [word.replace(LIST, file.name) for word in arguments]
            self.assertNotEqual(words, arguments, "no list of streams")
            checked = subprocess.run([TOOL, *words, "--check"], capture_output=True, text=True, timeout=60)
        self.assertEqual(checked.returncode, 0, checked.stdout + checked.stderr)
        return checked.stdout


def streams_and_shard(told):
    """How many streams a list has, and of them the shard."""
    return tuple(map(int, re.search(r": (\d+) streams, (\d+) of them in shard ", told).groups()))


def eventually(reached):
    """Waits until `reached` gives something, at most as long as a slow machine may need."""
    until = time.monotonic() + 60
    while not (given := reached()) and time.monotonic() < until:
        time.sleep(0.05)
    return given


@contextlib.contextmanager
def running(*arguments):
    """The program, serving its page on the loopback. The page's address without the last slash."""
    with tempfile.TemporaryFile("w+") as said, subprocess.Popen(
        [TOOL, *arguments, "--http", "0"], stdout=subprocess.DEVNULL, stderr=said, cwd=tempfile.gettempdir()
    ) as program:
        try:
            address = re.compile(r"(http://127\.0\.0\.1:\d+)/")
            found = eventually(lambda: address.search(os.pread(said.fileno(), 65536, 0).decode()))
            assert found, "it serves no page"
            yield found[1]
        finally:
            program.terminate()


def answer(address):
    """The body of an answer with 200, or nothing."""
    try:
        # Not by a proxy, which the environment may name.
        with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(address, timeout=60) as given:
            return given.read().decode()
    except OSError:
        return None
