# SPDX-License-Identifier: LGPL-2.1-or-later
import json
import os
import pathlib
import re
import shlex
import subprocess
import unittest

from deployment import DEPLOY, INSTALLED, ROOT, TOOL, Deployment

BUILD_FOLDER = os.environ["ZQ_BUILD_FOLDER"]
OS_RELEASE = pathlib.Path("/etc/os-release").read_text()
# What debian:bookworm-slim has of what any program in C++ needs.
IN_THE_IMAGE = ("ld-linux", "libc.so", "libgcc_s.so", "libm.so", "libstdc++.so")


def stages():
    """The instructions of each stage, (name, rest)."""
    text = re.sub(r"\\\n", " ", (DEPLOY / "container/Containerfile").read_text())
    lines = [line for line in text.splitlines() if line and not line.startswith("#")]
    found = []
    for line in lines:
        name, rest = line.split(maxsplit=1)
        if name == "FROM":
            found.append([])
        found[-1].append((name, rest))
    return found


def packages_installed_in(stage):
    installs = re.findall(r"apt-get install ([^&]*)", " && ".join(rest for name, rest in stage if name == "RUN"))
    return {word for part in installs for word in part.split() if not word.startswith("-")}


class TheContainerfile(Deployment):
    build, image = stages()

    def the(self, wanted, stage):
        (rest,) = [rest for name, rest in stage if name == wanted]
        return rest

    def test_the_tree_is_what_is_built(self):
        self.assertEqual(self.the("COPY", self.build), ". /source")
        self.assertTrue((ROOT / "CMakeLists.txt").is_file())
        ignored = (ROOT / ".dockerignore").read_text().split()
        self.assertEqual(ignored, [".git", "build", "**/__pycache__"])

    def test_it_configures_options_that_there_are_and_builds_the_program(self):
        (command,) = [rest for name, rest in self.build if name == "RUN" and rest.startswith("cmake")]
        options = re.findall(r"^option\((\w+)", (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE)
        for given in re.findall(r"-D(\w+)=", command):
            self.assertIn(given, [*options, "CMAKE_BUILD_TYPE"])
        target = re.search(r"--target (\w+)", command)[1]
        cmake = (ROOT / "tools/monitor/CMakeLists.txt").read_text()
        self.assertIn(f"zq_add_tool({target.removesuffix('_tool')} {TOOL.name})", cmake)

    def test_it_takes_the_program_from_where_it_is_built(self):
        built = "/build/" + os.path.relpath(TOOL, BUILD_FOLDER)
        self.assertEqual(self.the("COPY", self.image), f"--from=build {built} {INSTALLED}")
        self.assertIn("AS build", self.the("FROM", self.build))

    def test_it_starts_the_program_with_arguments_that_it_takes(self):
        self.assertEqual(json.loads(self.the("ENTRYPOINT", self.image)), [INSTALLED])
        arguments = json.loads(self.the("CMD", self.image))
        self.assert_is_taken(arguments)
        self.assertIn("--http 0.0.0.0:" + self.the("EXPOSE", self.image), shlex.join(arguments))

    def test_it_builds_with_the_packages_of_the_tree(self):
        wanted = re.search(r"^need_core\(\) \{\n +need (.*)\n\}", (ROOT / "zq").read_text(), re.MULTILINE)[1]
        self.assertEqual(packages_installed_in(self.build), set(wanted.split()))

    @unittest.skipUnless("VERSION_CODENAME=bookworm" in OS_RELEASE, "libraries have other versions here")
    def test_the_image_has_the_libraries_of_the_program(self):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", subprocess.check_output(["readelf", "-d", TOOL], text=True))
        # As Debian names packages of libraries.
        packages = {library.replace(".so.", "") for library in needed if not library.startswith(IN_THE_IMAGE)}
        self.assertEqual(packages, packages_installed_in(self.image))


if __name__ == "__main__":
    unittest.main()
