"""The base map of the office's page."""

import tempfile
from pathlib import Path

from kelvowire.farm import WireTest
from kelvowire.service import run_refused

PNG, MLT = 2, 6  # types of tiles


def map_of(tile_type):
    """A file with zooms from 3 to 15."""
    return b"PMTiles\3" + bytes(91) + bytes((tile_type, 3, 15)) + bytes(range(255, -1, -1)) * 2000


CONTENT = map_of(PNG)
FOLDER = tempfile.TemporaryDirectory(prefix="kelvo-map-")
MAP = Path(FOLDER.name, "farm.pmtiles")
MAP.write_bytes(CONTENT)
TILES = "https://tiles.example.org/{z}/{x}/{y}.png"


class File(WireTest):
    OPTIONS = ("--map", str(MAP), "--map-attribution", "© Farm")

    def setUp(self):
        self.anna = self.user("anna")

    def get(self, header, expect):
        return self.anna.get("/base-map/file", expect, headers={"Range": header} if header else {})

    def test_the_farms_users_read_ranges_of_the_file(self):
        described = self.anna.get("/base-map").json()
        whole = self.get("", 200)
        self.assertEqual(described, {"file": whole.headers["ETag"], "tiles": None, "min_zoom": 3, "max_zoom": 15,
                                     "attribution": "© Farm"})
        self.assertEqual(whole.body, CONTENT)
        part = self.get("bytes=100-299999", 206)
        self.assertEqual(part.body, CONTENT[100:300000])
        self.assertEqual(part.headers["Content-Range"], f"bytes 100-299999/{len(CONTENT)}")
        self.assertEqual(self.get("bytes=-5", 206).body, CONTENT[-5:])
        self.refused(self.get(f"bytes={len(CONTENT)}-", 416), "range-not-satisfiable")
        self.assertEqual(self.user("olga").get("/base-map/file", 206, headers={"Range": "bytes=0-6"}).body, b"PMTiles")

    def test_a_browser_that_has_the_file_gets_no_bytes(self):
        tag = self.get("", 200).headers["ETag"]
        known = self.anna.get("/base-map/file", 304, headers={"If-None-Match": tag, "Range": "bytes=0-6"})
        self.assertEqual((known.body, known.headers["ETag"]), (b"", tag))
        self.anna.get("/base-map/file", 200, headers={"If-None-Match": '"other"'})

    def test_a_range_of_another_file_is_not_sent(self):
        tag = self.get("", 200).headers["ETag"]
        for condition, status, body in ((tag, 206, CONTENT[:7]), ('"other"', 200, CONTENT), (f"W/{tag}", 200, CONTENT)):
            with self.subTest(condition=condition):
                headers = {"Range": "bytes=0-6", "If-Range": condition}
                self.assertEqual(self.anna.get("/base-map/file", status, headers=headers).body, body)

    def test_nobody_else_reads_it(self):
        for path in ("/base-map", "/base-map/file"):
            self.user("admin").get(path, 404)
            self.anna.token = None
            self.anna.get(path, 401)
            self.anna = self.user("anna")


class Tiles(WireTest):
    OPTIONS = ("--map-tiles", TILES, "--map-max-zoom", "17")

    def test_the_page_learns_the_address(self):
        anna = self.user("anna")
        self.assertEqual(anna.get("/base-map").json(), {"file": None, "tiles": TILES, "min_zoom": 0, "max_zoom": 17, "attribution": ""})
        self.refused(anna.get("/base-map/file", 404), "not-found")


class Refusals(WireTest):
    def test_a_wrong_option_ends_the_start(self):
        other = Path(FOLDER.name, "other")
        other.write_bytes(b"not a map")
        vectors = Path(FOLDER.name, "vectors")
        vectors.write_bytes(map_of(MLT))
        for options in (("--map", str(other)), ("--map", "/nowhere"), ("--map", str(vectors)), ("--map-max-zoom", "17"), ("--map-tiles", "http://x/{z}/{x}/{y}"),
                        ("--map", str(MAP), "--map-tiles", TILES)):
            with self.subTest(options=options), tempfile.TemporaryDirectory() as folder:
                code, out, err = run_refused(folder, *options)
                self.assertNotEqual(code, 0)
                self.assertIn("map", err)
                self.assertEqual(out, "")
