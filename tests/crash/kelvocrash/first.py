"""A round on the service's first start: kills the service while it creates keys, database and administrator."""

import random

from kelvotour.service import ServiceError

from . import checks
from .round import Finding, require
from .killpoint import ANY, CallTrigger
from .trigger import Trigger
from .wire import Wire

MOST_KILLS, MOST_STEPS, MOST_CALLS = 3, 60, 120


class FirstStart:
    """Has the interface of Round."""

    def __init__(self, seed, world):
        self.world = world
        self.kills, self.failures = [], []
        self._chance = random.Random(seed)

    def play(self):
        world = self.world
        for _ in range(self._chance.randint(1, MOST_KILLS)):
            self._start_and_kill()
        try:
            world.start_service()
        except ServiceError as error:
            raise Finding(f"after a killed first start: {error}") from None
        password = world.service.admin_password_file.read_text(encoding="utf-8").strip()
        admin = Wire(world.service)
        admin.login("admin", password)
        admin.add_farm("Hill Farm")
        world.stop_service()
        require(checks.service_folder(world.service) + checks.database(world.service.data / "kelvo.sqlite"))

    def _start_and_kill(self):
        world = self.world
        trigger = world.trigger = self._random_trigger()
        try:
            world.start_service()
        except ServiceError as error:
            if not trigger.was_reached:
                raise Finding(f"a start failed: {error}") from None
        finally:
            trigger.finish()
            world.trigger = None
        world.reap_service()

    def _random_trigger(self):
        if self._chance.random() < 0.5:
            return Trigger(self._chance.randint(1, MOST_STEPS), 0, self._kill)
        point = self.world.points["service"]
        point.arm(ANY, "/service/", self._chance.randint(1, MOST_CALLS), self._chance.random() < 0.5)
        return CallTrigger(point, self._kill)

    def _kill(self):
        last = self.world.trigger.last
        if self.world.kill_service(waits=True):
            self.kills.append(("service", "first start", last))
