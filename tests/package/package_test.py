#!/usr/bin/python3
"""The package as those meet it who are given it, on the server that tests/with-server has started."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest
import zipfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
WINE = PROJECT / "tools/wine"
COMPILER = "x86_64-w64-mingw32-gcc-win32"


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.copies = PROJECT / "build/package test"  # where programs may be run, which /tmp need not be
        shutil.rmtree(cls.copies, ignore_errors=True)  # of a run that was killed
        cls.copies.mkdir()
        cls.addClassCleanup(shutil.rmtree, cls.copies)
        subprocess.run([PROJECT / "tools/package", "--programs", PROJECT / "build/release/bin", "--into", cls.copies],
                       check=True)

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(dir=self.copies)))
        self.unpacked = self.folder / "unpacked"
        (package,) = self.copies.glob("*[0-9]-win64.zip")
        zipfile.ZipFile(package).extractall(self.unpacked)

    def run_there(self, folder, *command, check=True, **changes):
        """A program as on another machine, which knows nothing of the tests' server but how to log in."""
        test = {name: os.environ["ZDV_TEST_" + name] for name in ("SERVER", "USER", "PORT", "PASSWORD", "HOME")}
        others = {name: value for name, value in os.environ.items() if not name.startswith("ZDV_TEST_")}
        settings = {"ZDV_" + name: value for name, value in test.items()} | {"ZDV_ROOT": test["HOME"] + "/package"}
        return subprocess.run([WINE, *command], cwd=folder, stdin=subprocess.DEVNULL, check=check,
                              env=others | settings | changes).returncode

    def run_zdv(self, *arguments):
        self.run_there(self.folder, self.unpacked / "zdv.exe", *arguments)

    def test_kit_reports_without_the_password(self):
        (kit,) = self.copies.glob("*-tests-win64.zip")
        zipfile.ZipFile(kit).extractall(self.unpacked / "kit")
        code = self.run_there(self.unpacked / "kit", "cmd.exe", "/c", "run.cmd", check=False, ZDV_PASSWORD="denied")
        result = (self.unpacked / "kit/result.txt").read_text(encoding="utf-8")
        self.assertEqual(code, 1)
        self.assertRegex(result, r"Login \*\*\*(?s:.*)\nFAILED .* zdv check\nNothing else was run(?s:.*)with an agent")
        self.assertNotIn("denied", result)

    def test_backs_up_and_restores_from_an_empty_folder(self):
        self.run_here("sha256sum", "--check", "--strict", "--quiet", "SHA256SUMS")
        shutil.copytree(PROJECT / "interface", self.folder / "source")
        self.run_zdv("backup", windows_path(self.folder / "source"))
        self.run_zdv("restore", "--into", windows_path(self.folder / "target"))
        subprocess.run(["diff", "-r", self.folder / "source", self.folder / "target/source"], check=True)

    def test_samples_set_the_logs_level_and_folder(self):
        log = PROJECT / "build/wine/drive_c/ZDV_Logfiles/ZDV_FTP_trace.log"
        shutil.rmtree(log.parent, ignore_errors=True)
        for sample in (self.unpacked / "samples").iterdir():
            text = sample.read_text()
            (self.unpacked / sample.name).write_text(text.replace("TraceLevel=3", "TraceLevel=4"))
        self.run_zdv("check")
        self.assertIn(":[V]:", log.read_text())
        # What is listed as linked in is what the module says of itself.
        fetched = dict(line.split() for line in (PROJECT / "build/libraries/VERSIONS").read_text().splitlines())
        for name, program in (("curl", "libcurl"), ("openssl", "OpenSSL"), ("libssh2", "libssh2")):
            self.assertRegex(log.read_text(), rf"{program}/{re.escape(fetched[name].partition('-')[0])}\b")
        version = subprocess.check_output([WINE, self.unpacked / "zdv.exe", "--version"], text=True)
        self.assertRegex(version, rf"libarchive {re.escape(fetched['libarchive'].partition('-')[0])}\b")

    def run_here(self, *command):
        root = os.environ["ZDV_TEST_HOME"] + "/example"
        subprocess.run(command, cwd=self.unpacked, check=True, env=os.environ | {"ZDV_ROOT": root})

    def test_hosts_link_with_either_library(self):
        example = re.search(r"^//     ZDV_STATUS .*?^//     }$", (self.unpacked / "sdk/zdv.h").read_text(), re.M | re.S)[0]
        (self.unpacked / "example.c").write_text(re.sub("^//     ", "", example, flags=re.M))
        kernel = subprocess.check_output([COMPILER, "-print-file-name=libkernel32.a"], text=True).strip()
        for language in ("c", "c++"):
            self.run_here(COMPILER, "-Wall", "-Wextra", "-pedantic", "-Werror", "-O2", "-x", language,
                          f"-std={language}11", "-I", "sdk", "-I", ".", "-c", Path(__file__).with_name("host.c"), "-o", "host.o")
            for linker in ([COMPILER, "-nostdlib", "-Wl,-e,Start", "-o", "host.exe", "host.o", "sdk/libZDV_FTP.dll.a"],
                           ["lld-link", "-entry:Start", "-subsystem:console", "host.o", "sdk/ZDV_FTP.lib"]):
                self.run_here(*linker, kernel)
                self.run_here(WINE, "host.exe")


if __name__ == "__main__":
    unittest.main(verbosity=2)
