"""The fixture of most tests: a running service with two farms and their users."""

import re
import unittest

from .fleet import SERVICE
from .http import Client, metrics

FAILED = re.compile(r'status="5(?!0[15])')  # 501 and 505 refuse a request of the client.
PASSWORD = "correct horse battery"
PROJECTS = ["To Console", "From Console", "AB Lines", "Curves", "Pivots", "Optimal Lines", "Project Lines"]
PEOPLE = {"olga": ("Hill Farm", "operator"), "piet": ("Hill Farm", "operator"), "anna": ("Hill Farm", "office"),
          "otto": ("Dale Farm", "operator"), "oda": ("Dale Farm", "office")}


def log_in(service, user, password=PASSWORD):
    client = Client(service)
    client.token = client.post("/sessions", json={"user": user, "password": password}).json()["token"]
    service.secrets.update((client.token, password))
    return client


def log_in_admin(service):
    return log_in(service, "admin", service.admin_password())


def add_farms_and_users(service):
    """Makes the farms and the people; returns the administrator's client."""
    admin = log_in_admin(service)
    for farm in ("Hill Farm", "Dale Farm"):
        admin.post("/farms", json={"name": farm})
    for name, (farm, role) in PEOPLE.items():
        admin.post("/users", json={"farm": farm, "name": name, "password": PASSWORD, "role": role})
    return admin


def quoted(project):
    return project.replace(" ", "%20")


def make_inbox(client, project="To Console"):
    """The caller's inbox, made if need be: its id."""
    return client.post(f"/projects/{quoted(project)}/user-inbox", expect=(200, 201)).json()["id"]


class WireTest(unittest.TestCase):
    """One service for the class. Every test logs in anew, so none sees another's connections."""

    SERVICE = SERVICE
    OPTIONS = ()

    @classmethod
    def setUpClass(cls):
        cls.service = cls.SERVICE(*cls.OPTIONS)
        try:
            cls.service.start()
            add_farms_and_users(cls.service).close()
        except BaseException:
            cls.service.remove()
            raise

    @classmethod
    def tearDownClass(cls):
        try:
            failures = [line for line in metrics(cls.service)[1].splitlines()
                        if line.startswith("kelvo_http_requests_total") and FAILED.search(line)]
            cls.service.stop()
            if failures:
                raise AssertionError(f"the service answered 5xx: {failures}; log:\n{cls.service.log()}")
            cls.service.check_log()
        finally:
            cls.service.remove()

    def user(self, name):
        client = log_in_admin(self.service) if name == "admin" else log_in(self.service, name)
        self.addCleanup(client.close)
        return client

    def entries(self, client, inbox):
        """The files of an inbox as its reader sees them."""
        return client.get(f"/resources/{inbox}").json()["entries"]

    def names(self, client, inbox):
        return [entry["name"] for entry in self.entries(client, inbox)]

    def refused(self, answer, problem):
        self.assertEqual(answer.problem, problem, answer)
