"""Archives that try to leave their folder, or to fill the memory or the disk."""

import shutil
import subprocess
import unittest
import zipfile

from kelvoe2e.case import FarmCase
from kelvoe2e.needs import needs
from kelvotour import archives
from rawzip import LINK, Entry, archive_of

BOMB_BYTES = 400 * 1024 * 1024


class HostileArchivesTest(FarmCase):
    def assert_refused(self, name, content):
        """Downloads the hostile archive between two valid ones. Only the hostile one fails, and it leaves no file."""
        console = self.logged_in()
        good = {f"{place}.zip": archives.write_zip(self.folder / "good", {f"{place}.txt": place.encode()}).read_bytes()
                for place in ("before", "zz-after")}
        self.put(console, {**good, name: content})
        outside = {path: path.stat().st_mtime_ns for path in console.data.iterdir() if path.name != "logs"}
        result = console.run(f"download maps before.zip {name} zz-after.zip")
        self.assertEqual(result.errors, [{"file": name, "text": "Failed to unzip file"}])
        self.assertEqual(archives.content_of(console.data / "from-service/prescriptions"),
                         {"before/before.txt": b"before", "zz-after/zz-after.txt": b"zz-after"})
        others = set(console.data.rglob("*")) - set((console.data / "from-service/prescriptions").rglob("*"))
        self.assertFalse([path for path in others if path.is_symlink()])
        state = console.data / "state"
        self.assertEqual(set(console.data.iterdir()) - set(outside) - {console.data / "logs", state}, set())
        # The journal of fetched files whose fetch or result is not reported yet.
        self.assertLessEqual({path.suffix for path in state.rglob("*") if path.is_file()}, {".fetched"})
        self.assertEqual(list((console.data / "incoming").iterdir()), [])
        log = (console.data / "logs/user.log").read_text(encoding="utf-8").splitlines()
        reasons = [line.split("ManageKelvoDownloads: ")[1] for line in log if "ManageKelvoDownloads: " in line]
        self.assertEqual(len(reasons), 1, log)
        self.assertGreater(len(reasons[0].strip()), 10)
        print(f"\n{name}: {reasons[0]}")

    def test_a_path_with_dots(self):
        self.assert_refused("m-up.zip", archive_of(Entry(b"in.txt"), Entry(b"../../../escaped.txt")))
        self.assertFalse((self.folder / "escaped.txt").exists())

    def test_an_absolute_path(self):
        target = self.folder / "absolute.txt"
        self.assert_refused("m-absolute.zip", archive_of(Entry(str(target).encode())))
        self.assertFalse(target.exists())

    def test_a_path_through_a_link(self):
        outside = self.folder / "outside"
        outside.mkdir()
        link = Entry(b"link", attributes=LINK, content=str(outside).encode())
        self.assert_refused("m-link.zip", archive_of(link, Entry(b"link/planted.txt")))
        self.assertEqual(list(outside.iterdir()), [])

    def test_an_encrypted_archive(self):
        needs(self, shutil.which("zip"), "zip, which encrypts the archive")
        (self.folder / "secret.txt").write_text("x")
        subprocess.run(["zip", "-q", "-P", "key", "m-secret.zip", "secret.txt"], cwd=self.folder, check=True)
        self.assert_refused("m-secret.zip", (self.folder / "m-secret.zip").read_bytes())

    def test_a_bomb(self):
        path = self.folder / "bomb"
        with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
            with archive.open("zeros.bin", "w") as entry:
                for _ in range(BOMB_BYTES // (1024 * 1024)):
                    entry.write(bytes(1024 * 1024))
        self.assert_refused("m-bomb.zip", path.read_bytes())


if __name__ == "__main__":
    unittest.main()
