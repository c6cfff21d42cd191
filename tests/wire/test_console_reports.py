"""The reports of consoles: environment, devices, positions."""

import json
import time
import unittest

from kelvowire.farm import WireTest

CONSOLE = {"console_string": "Console 12", "host_string": "4.20", "hardware_address": "00:1b:44:11:3a:b7", "text4": "",
           "kind": "Controller", "text6": "", "number1": 0, "number2": 0, "number3": 0, "number4": 0, "number5": 4}
DEVICE = {"hardware_address": "", "text2": "", "console_string": "Console 12", "text4": "", "kind": "Controller",
          "text6": "", "text7": "", "number8": 0}
DAY = 24 * 3600


class Reports(WireTest):
    def setUp(self):
        self.olga = self.user("olga")
        self.now = int(time.time())
        self.environment = {"timestamp_ms": self.now * 1000, "console": CONSOLE, "controller": DEVICE}
        self.device = {"timestamp_ms": self.now * 1000, "state": 1, "flag": True, "device": DEVICE}
        self.position = {"time_s": self.now, "latitude": 51.9, "longitude": 5.4}

    def send(self, path, value, expect):
        method = "POST" if path == "/positions" else "PUT"
        return self.olga.request(method, path, expect, json=value)

    def test_reports_are_accepted_and_may_be_repeated(self):
        for _ in range(2):
            self.send("/environment", self.environment, 204)
            for state, flag in ((1, True), (0, True), (1, False), (0, False)):
                self.send("/devices", {**self.device, "state": state, "flag": flag}, 204)
            self.send("/positions", self.position, 204)
            self.send("/positions", {**self.position, "hardware_address": ""}, 204)
            self.send("/positions", {**self.position, "hardware_address": "00:1b:44:11:3a:b7"}, 204)

    def test_unknown_members_are_ignored(self):
        self.send("/environment", {**self.environment, "new": {"x": [1, None]}}, 204)
        self.send("/devices", {**self.device, "device": {**DEVICE, "text9": "x"}}, 204)
        self.send("/positions", {**self.position, "altitude": 12.5}, 204)

    def test_positions_outside_the_earth_are_refused(self):
        for latitude, longitude in ((90, 180), (-90, -180), (0, 0), (89.9999999, -179.9999999)):
            self.send("/positions", {**self.position, "latitude": latitude, "longitude": longitude}, 204)
        for latitude, longitude in ((90.0001, 0), (-90.0001, 0), (0, 180.0001), (0, -180.0001), (1e300, 0), (0, 1e308)):
            with self.subTest(latitude=latitude, longitude=longitude):
                answer = self.send("/positions", {**self.position, "latitude": latitude, "longitude": longitude}, 422)
                self.refused(answer, "unprocessable")

    def test_times_up_to_a_day_ahead_are_accepted(self):
        for path, value, name, unit in (("/positions", self.position, "time_s", 1),
                                        ("/environment", self.environment, "timestamp_ms", 1000),
                                        ("/devices", self.device, "timestamp_ms", 1000)):
            for ahead in (-DAY * 365 * 30, 0, DAY - 600):
                self.send(path, {**value, name: (self.now + ahead) * unit}, 204)
        for time, detail in ((self.now + DAY + 600, "more than a day in the future"),
                             (self.now + DAY * 365 * 100, "more than a day in the future"), (-1, "before 1970")):
            answer = self.send("/positions", {**self.position, "time_s": time}, 422)
            self.refused(answer, "unprocessable")
            self.assertIn(detail, answer.json()["detail"])

    def test_values_of_a_wrong_type_are_refused(self):
        for path, value in (("/environment", self.environment), ("/devices", self.device), ("/positions", self.position)):
            for name in value:
                for wrong in ({"x": 1}, [1], "text", None, 10 ** 400):
                    if isinstance(value[name], dict) and isinstance(wrong, dict):
                        continue
                    if name == "hardware_address" and isinstance(wrong, str):
                        continue
                    with self.subTest(path=path, name=name, wrong=str(wrong)[:20]):
                        self.send(path, {**value, name: wrong}, (400, 422))
                with self.subTest(path=path, missing=name):
                    self.send(path, {key: item for key, item in value.items() if key != name}, (400, 422))
        for state in (2, -1, 1.5):
            self.send("/devices", {**self.device, "state": state}, (400, 422))

    def test_numbers_that_json_does_not_know_are_refused(self):
        for text in ('{"time_s":1,"latitude":NaN,"longitude":0}', '{"time_s":1,"latitude":1e999,"longitude":0}',
                     '{"time_s":1,"latitude":Infinity,"longitude":0}'):
            self.olga.post("/positions", (400, 422), body=text.encode(), headers={"Content-Type": "application/json"})

    def test_long_texts_are_accepted_or_refused(self):
        value = {**self.environment, "console": {**CONSOLE, "console_string": "\u00e9\u0000\U0001f69c" * 2000}}
        self.assertLess(len(json.dumps(value)), 65536)
        self.send("/environment", value, (204, 422))

    def test_only_operators_report(self):
        for name in ("anna", "admin"):
            self.olga = self.user(name)
            for path, value in (("/environment", self.environment), ("/devices", self.device), ("/positions", self.position)):
                with self.subTest(name=name, path=path):
                    self.send(path, value, (403, 404))


if __name__ == "__main__":
    unittest.main()
