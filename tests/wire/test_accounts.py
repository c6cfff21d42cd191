"""The farms and users of the administrator."""

import unittest

from kelvowire.farm import PASSWORD, PROJECTS, WireTest, log_in


class Accounts(WireTest):
    def setUp(self):
        self.admin = self.user("admin")

    def make_user(self, expect=201, **change):
        user = {"farm": "Hill Farm", "name": "new", "password": PASSWORD, "role": "operator", **change}
        return self.admin.post("/users", expect, json={key: value for key, value in user.items() if value is not None})

    def test_a_new_farm_is_listed_and_has_its_projects(self):
        farm = self.admin.post("/farms", json={"name": "New Farm"}).json()
        self.assertIn(farm, self.admin.get("/farms").json()["farms"])
        self.make_user(farm="New Farm", name="nora", role="office")
        projects = self.user("nora").snapshot()["projects"]
        self.assertEqual([project["name"] for project in projects], PROJECTS)

    def test_farm_names_are_unique_and_not_empty(self):
        self.refused(self.admin.post("/farms", 409, json={"name": "Hill Farm"}), "conflict")
        for name in ("", None, 5, ["x"], {}, "x" * 60000):
            with self.subTest(name=str(name)[:20]):
                self.admin.post("/farms", (400, 422), json={"name": name})
        self.admin.post("/farms", (400, 422), json={})

    def test_a_new_user_is_listed_and_can_log_in(self):
        user = self.make_user(name="uwe").json()
        self.assertEqual((user["name"], user["role"], user["disabled"], user["farm"]["name"]),
                         ("uwe", "operator", False, "Hill Farm"))
        self.assertIn(user, self.admin.get("/users").json()["users"])
        self.assertEqual(self.user("uwe").snapshot()["user"], user)

    def test_users_are_listed_by_farm(self):
        names = [user["name"] for user in self.admin.get("/users?farm=Dale%20Farm").json()["users"]]
        self.assertCountEqual(names, ["otto", "oda"])
        answer = self.admin.get("/users?farm=No%20Farm", (200, 404))
        if answer.status == 200:
            self.assertEqual(answer.json()["users"], [])

    def test_user_names_are_unique_over_all_farms(self):
        self.refused(self.make_user(409, name="otto"), "conflict")
        self.refused(self.make_user(409, name="admin"), "conflict")

    def test_names_and_passwords_have_limits(self):
        for change in ({"name": ""}, {"name": "n" * 65}, {"password": "1234567"}, {"password": ""}, {"role": "boss"},
                       {"role": "admin"}, {"farm": None}, {"name": None}, {"password": None}, {"role": None},
                       {"name": 5}, {"password": 12345678}, {"name": ["x"]}):
            with self.subTest(change=change):
                self.make_user((400, 422), **change)
        self.make_user((404, 422), farm="No Farm", name="nowhere")
        self.make_user(name="n" * 64)
        self.make_user(name="short", password="12345678")

    def test_unusual_names_are_stored_unchanged(self):
        for name in ("J\u00fcrgen", "o'neil", "a b", "100%", "\u4e2d\u6587", "<b>"):
            with self.subTest(name=name):
                self.make_user(name=name)
                client = log_in(self.service, name)
                self.assertEqual(client.snapshot()["user"]["name"], name)
                client.close()

    def test_a_second_administrator_has_no_farm(self):
        user = self.make_user(farm=None, name="root2", role="admin").json()
        self.assertIsNone(user["farm"])
        self.user("root2").get("/farms")

    def test_a_change_with_a_wrong_value_is_refused(self):
        user = self.make_user(name="changed").json()
        path = f"/users/{user['id']}"
        for change in ({"disabled": "yes"}, {"disabled": 1}, {"password": "short"}, {"password": None}, {"disabled": None},
                       {"password": 12345678}):
            with self.subTest(change=change):
                self.admin.request("PATCH", path, (400, 422), json=change)
        self.user("changed")
        self.refused(self.admin.request("PATCH", "/users/2147483647", 404, json={"disabled": True}), "not-found")

    def test_only_administrators_manage_accounts(self):
        for name in ("olga", "anna"):
            client = self.user(name)
            with self.subTest(name):
                own = client.snapshot()["user"]["id"]
                client.get("/farms", (403, 404))
                client.post("/farms", (403, 404), json={"name": "My Farm"})
                for role in ("office", "admin"):
                    client.post("/users", (403, 422), json={"farm": "Hill Farm", "name": "friend", "password": PASSWORD,
                                                            "role": role})
                client.request("PATCH", f"/users/{own}", 403, json={"role": "office"})
                client.delete(f"/users/{own}", (403, 409))
                client.request("PATCH", f"/users/{own}", (403, 404), json={"password": "another good one"})
        names = {user["name"] for user in self.admin.get("/users").json()["users"]}
        self.assertNotIn("friend", names)


if __name__ == "__main__":
    unittest.main()
