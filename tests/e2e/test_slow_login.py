"""A whole login on a link of 60 B/s."""

import secrets

from kelvoe2e.case import FarmCase
from kelvotour.badlink import BadLink

SCENARIO = """
description = "60 B/s for each connection and direction"

[[rule]]
do = "bandwidth"
bytes_per_second = 60
"""
FILES = 50
LOGIN_SECONDS = 280  # ends only a login that hangs


class SlowLoginTest(FarmCase):
    def test_a_login_takes_the_time_that_its_bytes_need(self):
        self.make_inboxes()
        # The digests and names make the compressed snapshot larger than what arrives in 30 s, the stall timeout.
        names = {f"{secrets.token_hex(10)}.zip" for _ in range(FILES)}
        for name in names:
            path = self.folder / "file"
            path.write_text(name)
            self.office.put(path, f"{self.operator}/To Console", name=name)
        scenario = self.folder / "slow.toml"
        scenario.write_text(SCENARIO)
        link = BadLink(scenario, self.service.address, self.folder / "badlink.log").start()
        self.addCleanup(link.close)
        console = self.console(address=link.address, timeout=LOGIN_SECONDS)
        mark = console.mark()
        self.assert_ok(console.run("login"))
        console.wait_for_list("maps", names.issubset, mark)
