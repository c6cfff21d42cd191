"""The pages and filters of lists, and large documents that are sent from a file."""

import concurrent.futures
import json
import re
import unittest

from kelvowire.farm import PASSWORD, WireTest, make_inbox
from kelvowire.http import raw_socket

LISTS = {"/consoles": "consoles", "/bin": "files", "/users": "users", "/audit": "entries", "/farms": "farms"}


def next_page(answer):
    link = answer.headers["Link"]
    return re.fullmatch(r'<(.+)>; rel="next"', link)[1] if link else None


class Paging(WireTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        test = cls()
        olga, piet, anna = test.user("olga"), test.user("piet"), test.user("anna")
        for client, numbers in ((olga, range(4)), (piet, range(4, 7))):
            for number in numbers:
                console = {"console_string": f"Console {number % 2}", "hardware_address": f"00:{number}"}
                client.request("PUT", "/environment", 204, json={"timestamp_ms": 1, "console": console, "controller": {}})
            inbox = make_inbox(client)
            for number in numbers:
                file = client.put(f"file {number % 2}.zip", [inbox], b"x")[0]
                client.delete(f"/resources/{file['id']}")
        for name in ("rosa", "ruth"):
            anna.post("/users", json={"name": name, "password": PASSWORD, "role": "operator"})
        anna.request("PATCH", f"/users/{test.one(anna, '/users?name=ruth')['id']}", 200, json={"disabled": True})
        test.doCleanups()

    def setUp(self):
        self.anna = self.user("anna")

    def items(self, client, path):
        member = LISTS[path.partition("?")[0]]
        return client.get(path).json()[member]

    def one(self, client, path):
        items = self.items(client, path)
        self.assertEqual(len(items), 1, items)
        return items[0]

    def pages(self, client, path):
        member = LISTS[path.partition("?")[0]]
        while path:
            answer = client.get(path)
            yield answer.json()[member]
            path = next_page(answer)

    def test_the_pages_of_a_list_are_the_whole_list(self):
        for path in ("/consoles", "/bin", "/users", "/audit?action=file-delete"):
            whole = self.items(self.anna, path)
            self.assertGreater(len(whole), 4)
            for limit in (1, 2, len(whole) - 1, len(whole)):
                with self.subTest(path=path, limit=limit):
                    pages = list(self.pages(self.anna, f"{path}{'&' if '?' in path else '?'}limit={limit}"))
                    self.assertEqual([item for page in pages for item in page], whole)
                    self.assertEqual([len(page) for page in pages[:-1]], [limit] * (len(pages) - 1))
                    self.assertTrue(pages[-1])

    def test_a_page_goes_on_after_its_last_item_was_removed(self):
        first = self.anna.get("/bin?limit=2")
        rest = self.items(self.anna, "/bin")[2:]
        last = first.json()["files"][-1]["id"]
        self.anna.post(f"/bin/{last}/restore", 200)
        self.assertEqual(self.anna.get(next_page(first)).json()["files"], rest[:2])
        self.anna.delete(f"/resources/{last}")

    def test_a_link_cannot_be_ended_by_the_query(self):
        link = self.anna.get('/bin?limit=1&further=a">;rel="next",<').headers["Link"]
        self.assertEqual((link.count("<"), link.count(">"), link.count('"')), (1, 1, 2), link)
        self.assertIn("&further=a%22%3E;rel=%22next%22,%3C&", link.replace("?", "&"))

    def test_links_keep_the_filters(self):
        olga = self.user("olga").snapshot()["user"]["id"]
        for path in (f"/consoles?user={olga}&limit=1", "/bin?name=file%200.zip&limit=1", "/users?role=operator&limit=1"):
            pages = list(self.pages(self.anna, path))
            self.assertGreater(len(pages), 1, path)
            self.assertEqual([item for page in pages for item in page], self.items(self.anna, path.replace("limit=1", "")))

    def test_consoles_are_filtered_by_user_and_name(self):
        piet = self.user("piet").snapshot()["user"]["id"]
        addresses = [console["hardware_address"] for console in self.items(self.anna, f"/consoles?user={piet}")]
        self.assertEqual(addresses, ["00:4", "00:5", "00:6"])
        named = self.items(self.anna, "/consoles?name=Console%201")
        self.assertEqual([console["hardware_address"] for console in named], ["00:1", "00:3", "00:5"])
        self.assertEqual(self.one(self.anna, "/consoles?name=00:2")["console_string"], "Console 0")
        self.assertEqual(self.items(self.anna, f"/consoles?name=00:2&user={piet}"), [])

    def test_the_bin_is_filtered_by_inbox_and_name(self):
        hers, his = make_inbox(self.user("olga")), make_inbox(self.user("piet"))
        self.assertEqual({file["container"] for file in self.items(self.anna, f"/bin?inbox={his}")}, {his})
        self.assertEqual(len(self.items(self.anna, f"/bin?inbox={hers}&name=file%201.zip")), 2)
        self.assertEqual(self.items(self.anna, "/bin?name=file"), [])

    def test_users_are_filtered_by_name_role_and_state(self):
        self.assertEqual(self.one(self.anna, "/users?name=rosa")["name"], "rosa")
        self.assertEqual(self.one(self.anna, "/users?disabled=true")["name"], "ruth")
        self.assertEqual([user["name"] for user in self.items(self.anna, "/users?role=office")], ["anna"])
        self.assertEqual(self.items(self.anna, "/users?name=oda"), [])  # another farm
        admin = self.user("admin")
        self.assertEqual(self.one(admin, "/users?role=admin")["name"], "admin")
        self.assertEqual([user["name"] for user in self.items(admin, "/users?farm=Dale%20Farm")], ["otto", "oda"])

    def test_the_pages_of_farms_are_all_farms(self):
        admin = self.user("admin")
        pages = [[farm["name"] for farm in page] for page in self.pages(admin, "/farms?limit=1")]
        self.assertEqual(pages, [["Hill Farm"], ["Dale Farm"]])
        self.assertEqual([farm["name"] for farm in self.items(admin, "/farms?limit=2")], ["Hill Farm", "Dale Farm"])

    def test_wrong_parameters_are_malformed(self):
        admin = self.user("admin")
        for path in LISTS:
            for query in ("limit=0", "limit=1001", "limit=x", "after=x", "after=", "after=-1"):
                with self.subTest(path=path, query=query):
                    client = admin if path == "/farms" else self.anna
                    self.refused(client.get(f"{path}?{query}", 400), "malformed-request")
        for path in ("/bin?after=1", "/bin?after=1-", "/bin?after=-", "/bin?after=99999999999999999999-1", "/bin?inbox=x", "/consoles?user=0",
                     "/users?role=boss", "/users?disabled=1"):
            with self.subTest(path=path):
                self.refused(self.anna.get(path, 400), "malformed-request")

    def test_a_list_without_a_limit_has_100_items_at_most(self):
        otto, oda = self.user("otto"), self.user("oda")
        for number in range(101):
            otto.post("/positions", 204, json={"time_s": 1, "latitude": 0, "longitude": 0, "hardware_address": f"01:{number}"})
        pages = list(self.pages(oda, "/consoles"))
        self.assertEqual([len(page) for page in pages], [100, 1])


class LargeDocuments(WireTest):
    """A document above 128 KiB is sent from a file."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        test = cls()
        olga = test.user("olga")
        cls.inbox = make_inbox(olga)
        for number in range(600):
            olga.put(f"{number:04} {'ä' * 100}.zip", [cls.inbox], b"x")
        test.doCleanups()

    def test_each_document_is_whole_and_has_no_needless_byte(self):
        olga = self.user("olga")
        for path in ("/account", f"/resources/{self.inbox}", f"/projects/{1}/resources"):
            answer = olga.get(path, headers={"Accept-Encoding": "identity"})
            self.assertGreater(len(answer.body), 256 * 1024)
            again = json.dumps(answer.json(), separators=(",", ":"), ensure_ascii=False).encode()
            self.assertEqual(answer.body, again)
            self.assertEqual(answer.body.count(b'"kind":"file"'), 600)
        again = olga.post("/projects/To%20Console/user-inbox", 200)
        self.assertEqual(again.body, olga.get(f"/resources/{self.inbox}").body)

    def test_the_members_of_a_snapshot_keep_their_order(self):
        snapshot = self.user("olga").snapshot()
        self.assertEqual(list(snapshot), ["user", "cursor", "projects"])
        project = snapshot["projects"][0]
        self.assertEqual(list(project), ["id", "kind", "name", "resources"])
        self.assertEqual(list(project["resources"][0]), ["id", "kind", "name", "project", "owner", "entries"])

    def test_a_head_of_a_large_document_has_its_length(self):
        olga = self.user("olga")
        whole = olga.get("/account", headers={"Accept-Encoding": "identity"})
        head = olga.request("HEAD", "/account", 200, headers={"Accept-Encoding": "identity"}, check=False)
        self.assertEqual(head.headers["Content-Length"], str(len(whole.body)))
        self.assertEqual(head.headers["ETag"], whole.headers["ETag"])

    def test_http_1_0_gets_a_large_document(self):
        olga = self.user("olga")
        whole = olga.get("/account", headers={"Accept-Encoding": "identity"}).body
        with raw_socket(self.service) as connection:
            connection.sendall(f"GET /kelvo-api/v1/account HTTP/1.0\r\nAuthorization: Bearer {olga.token}\r\n\r\n".encode())
            answer = b"".join(iter(lambda: connection.recv(65536), b""))
        head, _, body = answer.partition(b"\r\n\r\n")
        self.assertTrue(head.startswith(b"HTTP/1.1 200 "))
        self.assertNotIn(b"chunked", head)
        self.assertEqual(body, whole)

    def test_many_readers_get_the_same_document(self):
        clients = [self.user("olga") for _ in range(8)]
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            bodies = set(pool.map(lambda client: client.get("/account").body, clients))
        self.assertEqual(len(bodies), 1)


if __name__ == "__main__":
    unittest.main()
