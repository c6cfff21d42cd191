"""Uploads with a tus client of other authors."""

import hashlib
import io
import os
import threading
import unittest

from tusclient.client import TusClient
from tusclient.exceptions import TusCommunicationError, TusUploadFailed

from kelvowire.farm import WireTest, make_inbox
from kelvowire.http import BASE

CONTENT = os.urandom(300_000)


class CutFile(io.BytesIO):
    """A file whose read fails once, at an offset: the client's upload stops there."""

    def __init__(self, content, at):
        super().__init__(content)
        self.at = at

    def read(self, size=-1):
        if self.at is not None and self.tell() >= self.at:
            self.at = None
            raise OSError("the memory stick was pulled out")
        return super().read(size)


class OtherTusClient(WireTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        os.environ["REQUESTS_CA_BUNDLE"] = cls.service.ca  # tuspy uses requests, which trusts this authority.
        os.environ["NO_PROXY"] = "localhost"

    def setUp(self):
        self.olga = self.user("olga")
        self.inbox = make_inbox(self.olga)

    def uploader(self, name, content, targets=None, token=None, **options):
        client = TusClient(f"https://localhost:{self.service.port}{BASE}/uploads",
                           headers={"Authorization": f"Bearer {token or self.olga.token}"})
        stream = content if isinstance(content, io.IOBase) else io.BytesIO(content)
        return client.uploader(file_stream=stream, metadata={"name": name, "targets": targets or str(self.inbox)}, **options)

    def check_arrived(self, name, content):
        entries = [entry for entry in self.entries(self.olga, self.inbox) if entry["name"] == name]
        self.assertEqual([(entry["size"], entry["sha256"]) for entry in entries],
                         [(len(content), hashlib.sha256(content).hexdigest())])
        self.assertEqual(self.olga.get(f"/resources/{entries[0]['id']}/content").body, content)

    def test_sends_in_chunks(self):
        self.uploader("chunks.zip", CONTENT, chunk_size=70_000).upload()
        self.check_arrived("chunks.zip", CONTENT)

    def test_sends_in_one_piece(self):
        self.uploader("piece.zip", CONTENT).upload()
        self.check_arrived("piece.zip", CONTENT)

    def test_resumes_after_a_cut(self):
        first = self.uploader("cut.zip", CutFile(CONTENT, 140_000), chunk_size=70_000)
        with self.assertRaises(OSError):
            first.upload()
        self.assertNotIn("cut.zip", self.names(self.olga, self.inbox))
        second = self.uploader("cut.zip", CONTENT, url=first.url, chunk_size=70_000)
        self.assertEqual(second.offset, 140_000)
        second.upload()
        self.check_arrived("cut.zip", CONTENT)

    def test_resumes_an_upload_that_it_stopped_itself(self):
        first = self.uploader("stopped.zip", CONTENT, chunk_size=50_000)
        first.upload(stop_at=100_000)
        second = self.uploader("stopped.zip", CONTENT, url=first.url)
        self.assertEqual(second.offset, 100_000)
        second.upload()
        self.check_arrived("stopped.zip", CONTENT)

    def test_sends_names_and_several_targets(self):
        other = make_inbox(self.olga, "Curves")
        self.uploader("h\u00fcgel.zip", CONTENT[:10], targets=f"{self.inbox},{other}").upload()
        self.check_arrived("h\u00fcgel.zip", CONTENT[:10])
        self.assertEqual(self.names(self.olga, other), ["h\u00fcgel.zip"])

    def test_several_at_once_do_not_mix(self):
        names = [f"parallel{n}.zip" for n in range(4)]
        contents = [bytes([n]) * 100_000 + CONTENT[:n * 1000] for n in range(4)]
        threads = [threading.Thread(target=self.uploader(name, content, chunk_size=30_000).upload)
                   for name, content in zip(names, contents)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for name, content in zip(names, contents):
            self.check_arrived(name, content)

    def test_gets_the_status_of_a_refusal(self):
        with self.assertRaises(TusCommunicationError) as refusal:
            self.uploader("no.zip", CONTENT, token="nobody").upload()
        self.assertEqual(refusal.exception.status_code, 401)
        mine = self.uploader("mine.zip", CONTENT, chunk_size=100_000)
        mine.upload_chunk()
        with self.assertRaises(TusCommunicationError) as refusal:
            self.uploader("mine.zip", CONTENT, url=mine.url, token=self.user("piet").token)
        self.assertEqual(refusal.exception.status_code, 404)

    def test_gets_a_conflict_for_a_wrong_offset(self):
        uploader = self.uploader("wrong.zip", CONTENT, chunk_size=100_000)
        uploader.upload_chunk()
        uploader.offset = 50_000
        with self.assertRaises(TusUploadFailed) as refusal:
            uploader.upload_chunk()
        self.assertEqual(refusal.exception.status_code, 409)
        uploader.offset = uploader.get_offset()
        uploader.upload()
        self.check_arrived("wrong.zip", CONTENT)


if __name__ == "__main__":
    unittest.main()
