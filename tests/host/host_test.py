#!/usr/bin/python3
"""zdv.exe as a user meets it, on the server that tests/with-server has started."""

import argparse
import hashlib
import os
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

BLOCK = 65536
REQUEST = 16 * BLOCK
DONE, COMMAND_LINE, NOT_READY, BACKUP_FAILED, DATA_DIFFERS, LOCAL_FILE = range(6)
MODULE_TEXT = r"\[.+\] \(code \d+\)"  # libcurl's text and number, which the module hands on
POLL_INTERVAL_S = 0.01

STORE = Path(os.environ["ZDV_TEST_STORE"])
PROGRAM = []


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


def control(command):
    with socket.create_connection(("127.0.0.1", int(os.environ["ZDV_TEST_CONTROL"]))) as connection:
        with connection.makefile("rw") as lines:
            lines.write(command + "\n")
            lines.flush()
            answer = lines.readline().strip()
    if answer != "ok":
        raise RuntimeError(f"{command}: {answer}")


def damage(path, change):
    path.write_bytes(change(path.read_bytes()))


def flip(position):
    return lambda data: data[:position] + bytes([data[position] ^ 1]) + data[position + 1:]


def sealed(record):
    """With the checksum that ends every header and trailer."""
    content = record[:-32]
    return content + hashlib.sha256(content).digest()


def with_name(header, name):
    name = name.encode()
    return sealed(header[:56] + struct.pack("<I", len(name)) + name + header[60 + len(name):])


class HostTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.root = self.id().rsplit(".", 1)[1]
        self.source, self.target = self.folder / "source", self.folder / "target"
        self.source.mkdir()

    def write(self, name, data):
        path = self.source / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        return path

    def start(self, command, *arguments, password=os.environ["ZDV_TEST_PASSWORD"], port=None, zone="UTC"):
        # An SFTP root is read from the server's top, an FTP root from the login folder.
        home = os.environ["ZDV_TEST_HOME"].rstrip("/") + "/" if os.environ["ZDV_TEST_SCHEME"] == "sftp" else ""
        process = subprocess.Popen(
            [*PROGRAM, command, "--server", os.environ["ZDV_TEST_SERVER"], "--user", os.environ["ZDV_TEST_USER"],
             "--port", port or os.environ["ZDV_TEST_PORT"], "--root", home + self.root, *arguments],
            env=os.environ | {"ZDV_PASSWORD": password, "TZ": zone}, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8")
        return self.enterContext(process)

    def finish(self, process, code):
        out, complaint = process.communicate()
        self.assertEqual(process.returncode, code, out + complaint)
        return out + complaint

    def run_host(self, code, command, *arguments, **options):
        return self.finish(self.start(command, *arguments, **options), code)

    def backup(self, *arguments, code=DONE):
        return self.run_host(code, "backup", windows_path(self.source), *arguments)

    def restore(self, *arguments, code=DONE, **options):
        shutil.rmtree(self.target, ignore_errors=True)
        return self.run_host(code, "restore", "--into", windows_path(self.target), *arguments, **options)

    def version_folder(self):
        (folder,) = (STORE / self.root).iterdir()
        return folder

    def object_file(self, number):
        (path,) = self.version_folder().glob(f"*.{number:03}")
        return path

    # --------------------------------------------------------------------------------- backup and restore

    def test_everything_comes_back(self):
        sizes = [0, 1, BLOCK - 1, BLOCK, BLOCK + 1, REQUEST - 1, REQUEST, REQUEST + 1, 17 * BLOCK]
        files = [self.write(f"sizes/{size}", os.urandom(size)) for size in sizes]
        for name in ("Grüße an Яна/日本.txt", "two  blanks and 🎞", ".hidden", "/".join(["a" * 60] * 6)):
            files.append(self.write(name, name.encode()))
        times = {path: 1_600_000_000_123_456_700 + 10_000_000_000 * n for n, path in enumerate(files)}
        for path, modified in times.items():
            os.utime(path, ns=(modified, modified))
        single = self.folder / "single"
        single.write_bytes(b"one")

        report = self.backup(windows_path(single), "--verify")
        self.assertIn(f"Backing up {len(files) + 1} files, ", report)
        self.assertIn("read back and found the same", report)
        self.restore()

        self.assertEqual(files_below(self.target), {"single"} | {f"source/{p}" for p in files_below(self.source)})
        self.assertEqual((self.target / "single").read_bytes(), b"one")
        for path, modified in times.items():
            restored = self.target / path.relative_to(self.folder)
            self.assertEqual(restored.read_bytes(), path.read_bytes(), path)
            self.assertEqual(restored.stat().st_mtime_ns, modified, path)
        objects = sorted(path.stat().st_size for path in self.version_folder().iterdir())
        blocks = [1] * (1 + 2 * (len(files) + 1)) + [max(1, -(-p.stat().st_size // BLOCK)) for p in (*files, single)]
        self.assertEqual(objects, sorted(count * BLOCK for count in blocks))

    def test_existing_files_are_kept_unless_told_otherwise(self):
        path = self.write("file", b"saved")
        self.backup()
        path.write_bytes(b"changed")
        other = self.write("other", b"other")
        into = ["--into", windows_path(self.folder)]
        self.assertIn("exists already", self.run_host(DATA_DIFFERS, "restore", *into))
        self.assertEqual(path.read_bytes(), b"changed")
        self.run_host(DONE, "restore", *into, "--overwrite")
        self.assertEqual((path.read_bytes(), other.read_bytes()), (b"saved", b"other"))
        self.object_file(3).write_bytes(bytes(BLOCK))
        self.run_host(DATA_DIFFERS, "restore", *into, "--overwrite")
        self.assertEqual(path.read_bytes(), b"saved")

    def test_a_version_is_chosen_by_time(self):
        versions = {"ZELT_20240715120000": b"summer", "ZELT_20240715123000": b"half an hour later",
                    "ZELT_20241215120000": b"winter"}
        for label, data in versions.items():
            self.write("file", data)
            self.backup()
            shutil.move(self.version_folder(), self.folder / label)  # the only one in the root by now
        for label in versions:
            shutil.move(self.folder / label, STORE / self.root)

        berlin = {"zone": "Europe/Berlin"}  # where the module's standard time is not what clocks show in July
        self.assertEqual(self.run_host(DONE, "versions", **berlin),
                         "15/07/2024 12:00:00\n15/07/2024 12:30:00\n15/12/2024 12:00:00\n")
        self.assertIn("3 backups, the newest of 15/12/2024 12:00:00", self.run_host(DONE, "check", **berlin))
        for at, data in (("15/07/2024 12:00:00", b"summer"), ("15/12/2024 11:59:59", b"half an hour later"),
                         ("15/12/2024 12:00:00", b"winter"), (None, b"winter")):
            with self.subTest(at=at):
                self.restore(*(("--at", at) if at else ()), **berlin)
                self.assertEqual((self.target / "source/file").read_bytes(), data)
        text = self.restore("--at", "15/07/2024 11:59:59", code=DATA_DIFFERS, **berlin)
        self.assertIn("the oldest is of 15/07/2024 12:00:00", text)
        for wrong in ("yesterday", "31/02/2024 00:00:00", "1/2/2024 00:00:00", "01/02/2024 24:00:00"):
            with self.subTest(at=wrong):
                self.assertIn(wrong, self.restore("--at", wrong, code=COMMAND_LINE))

    def test_a_version_never_takes_the_place_of_another(self):
        self.run_host(DONE, "versions")  # creates the root
        root, now = STORE / self.root, int(time.time())
        taken = {time.strftime("ZELT_%Y%m%d%H%M%S", time.gmtime(now + seconds)) for seconds in range(5)}
        taken.add("ZELT_20371231235959")
        for label in taken:
            (root / label).mkdir()
        self.write("file", b"")
        self.assertIn("lies in the future", self.backup())
        (version,) = {path.name for path in root.iterdir()} - taken
        self.assertEqual(len(files_below(root / version)), 4)

    def test_an_empty_root(self):
        self.assertEqual(self.run_host(DONE, "versions"), "")
        self.assertIn("There is no backup", self.restore(code=DATA_DIFFERS))

    # ----------------------------------------------------------------------------- a server not to be trusted

    def test_damaged_files_are_refused_and_the_others_come_back(self):
        header, data, trailer = 2, 3, 4  # objects of the first file; those of the next are three further
        cases = {
            "name": (header, flip(61)),
            "header with more behind it": (header, lambda content: content + bytes(BLOCK)),
            "header without an end": (header, lambda content: content[:100]),
            "header of another backup": (header, lambda content: sealed(content[:16] + bytes(16) + content[32:])),
            "data": (data, flip(99_999)),
            "data short of a block": (data, lambda content: content[:BLOCK]),
            "data short of a byte": (data, lambda content: content[:-1]),
            "no data": (data, lambda content: b""),
            "data with a block behind it": (data, lambda content: content + bytes(BLOCK)),
            "data with a byte behind it": (data, lambda content: content + b"\0"),
            "data that cannot be read": (data, None),
            "trailer": (trailer, flip(50)),
            "trailer of another file": (trailer, lambda content: sealed(content[:32] + b"\0" + content[33:])),
        }
        names = sorted(cases, key=str.upper)
        for name in (*names, "~ intact"):
            self.write(name, os.urandom(100_000))
        self.backup()
        for index, name in enumerate(names):
            number, change = cases[name]
            path = self.object_file(number + 3 * index)
            if change:
                damage(path, change)
            else:
                path.chmod(0)
        text = self.restore(code=DATA_DIFFERS)
        self.assertEqual(files_below(self.target), {"source/~ intact"}, text)
        self.assertIn(f"{len(cases)} problems", text)

    def test_objects_that_are_missing_or_too_many(self):
        self.write("a", b"a")
        self.write("b", b"b")
        self.backup()
        pristine = shutil.copytree(self.version_folder(), self.folder / "pristine")
        cases = (
            ("volume header", lambda: damage(self.object_file(1), flip(40)), "is damaged", set()),
            ("data missing", lambda: self.object_file(3).unlink(), "was not written by", set()),
            ("trailer missing", lambda: self.object_file(7).unlink(), "ends before object 7", {"source/a"}),
            ("one more", lambda: shutil.copy(self.object_file(7), self.object_file(7).with_suffix(".008")),
             "object 8 is more than", {"source/a", "source/b"}),
        )
        for name, change, complaint, restored in cases:
            with self.subTest(name):
                shutil.copytree(pristine, self.version_folder(), dirs_exist_ok=True)
                change()
                self.assertIn(complaint, self.restore(code=DATA_DIFFERS))
                self.assertEqual(files_below(self.target), restored)

    def test_names_cannot_lead_out_of_the_folder(self):
        names = ("../evil", "source/../../evil", "/evil", "C:/evil", "C:evil", "a\\..\\..\\evil", "evil:stream", "NUL",
                 "com1.txt", "aux .x", "evil.", "evil ", "", "a//evil", ".", "e\nvil", "x" * 256)
        for number in range(len(names)):
            self.write(f"{number:02}", b"evil")
        self.write("good", b"good")
        self.backup()
        for index, name in enumerate(names):
            damage(self.object_file(2 + 3 * index), lambda header, name=name: with_name(header, name))
        text = self.restore(code=DATA_DIFFERS)
        self.assertEqual(text.count("is not a name for a file"), len(names), text)
        self.assertEqual(files_below(self.folder) - {f"source/{name}" for name in files_below(self.source)},
                         {"target/source/good"})

    # ------------------------------------------------------------------------------------------- refusals

    def test_refused_before_anything_is_written(self):
        for number in range(333):
            self.write(f"many/{number}", b"")
        self.write("one/same", b"1")
        self.write("two/SAME", b"2")
        self.write("device/aux", b"")
        for names, text in ((["many"], "333 files are too many"), (["one", "missing"], "missing"),
                            (["one/same", "two/SAME"], "the same name"), (["device"], "not a name for a file")):
            with self.subTest(names=names):
                paths = [windows_path(self.source / name) for name in names]
                self.assertIn(text, self.run_host(LOCAL_FILE, "backup", *paths))
                self.assertFalse((STORE / self.root).exists())

    def test_a_server_that_cannot_be_used(self):
        for options, code in (({"password": "wrong"}, 67), ({"port": "2121"}, 7)):
            with self.subTest(options):
                self.assertRegex(self.run_host(NOT_READY, "check", **options), rf"\[.+\] \(code {code}\)")

    # ------------------------------------------------------------------------------------- failing backups

    @unittest.skipUnless((STORE / "small").exists(), "this machine mounts no small disk")
    def test_a_full_disk(self):
        for size in (15 * BLOCK, 48 * BLOCK):  # the smaller is found out when the upload is completed
            with self.subTest(size=size):
                self.root = f"small/{size}"
                self.write("big", bytes(size))
                text = self.backup(code=BACKUP_FAILED)
                self.assertRegex(text, rf'"source/big", file 1 of 1, after \d+ of {size} bytes were handed over: ')
                self.assertRegex(text, MODULE_TEXT)
                shutil.rmtree(STORE / self.root)

    def finish_without_server(self, process, code, folder, pattern):
        """Kills the server once the first bytes have arrived in the folder; it is back afterwards."""
        while not any(path.stat().st_size for path in folder.glob(pattern)):
            self.assertIsNone(process.poll(), "it ended before the server was killed")
            time.sleep(POLL_INTERVAL_S)
        control("kill")
        try:
            return self.finish(process, code)
        finally:
            control("start")

    def test_a_server_killed_in_mid_upload(self):
        os.truncate(self.write("big", b""), 1 << 30)
        process = self.start("backup", windows_path(self.source))
        text = self.finish_without_server(process, BACKUP_FAILED, STORE / self.root, "*/*.003")
        self.assertRegex(text, r'"source/big"(.|\n)*' + MODULE_TEXT)
        self.assertIn("the data ends early", self.restore(code=DATA_DIFFERS))
        self.assertEqual(files_below(self.target), set())

    def test_a_server_killed_in_mid_download(self):
        self.write("a", b"")
        self.write("b", b"")
        self.backup()
        size = 1 << 30
        damage(self.object_file(2), lambda header: sealed(header[:40] + struct.pack("<Q", size) + header[48:]))
        os.truncate(self.object_file(3), size)
        process = self.start("restore", "--into", windows_path(self.target))
        text = self.finish_without_server(process, DATA_DIFFERS, self.target, "source/*")
        self.assertRegex(text, r"Not restored, file 1 of 2(.|\n)*asking the server again: .+" + MODULE_TEXT)
        self.assertNotIn("file 2 of 2", text)
        self.assertEqual(files_below(self.target), set())

    def test_a_file_that_changes_while_it_is_read(self):
        for name, change, text in (("shrinks", lambda file: file.truncate(1), "shrank"),
                                   ("grows", lambda file: file.seek(0, os.SEEK_END) and file.write(b"more"), "grew")):
            with self.subTest(name), open(self.write("file", bytes(32 << 20)), "r+b") as file:
                process = self.start("backup", windows_path(self.source))
                self.assertIn("Backing up 1 file", process.stdout.readline())
                control("stop")  # what is buffered on the way is far less than the file
                change(file)
                file.flush()
                control("cont")
                self.assertIn(text, self.finish(process, BACKUP_FAILED))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--wine", required=True)
    parser.add_argument("--host", required=True)
    arguments, rest = parser.parse_known_args()
    PROGRAM.extend([arguments.wine, arguments.host])
    # Wine takes two seconds to start, and ends with its last program: this one waits for a key. Wine's services
    # keep the output of the program that starts them open, so no other program may be the first.
    with subprocess.Popen([arguments.wine, "cmd.exe", "/c", "pause"], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE) as waiting:
        waiting.stdout.read(1)
        unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
