"""The processes of a round with a fleet in the place of the service."""

import os
import random

from fleet import Fleet
from kelvotour.day import PROJECTS
from kelvotour.farm import OFFICE, OPERATOR, PASSWORDS, Farm

from .wire import Wire
from .world import SERVICE_OPTIONS, World, killed

INSTANCES = 2


class FleetWorld(World):
    """A kill of the service kills an instance. The fleet has a database of its own and a new farm."""

    has_kill_points_in_service = False

    def __init__(self, binaries, folder, plan, engines):
        super().__init__(binaries, folder, None, None, plan.has_state_folder, plan.refuses_flags)
        self._chance = random.Random(f"victims {plan.seed}")
        url = engines.primary.make_database(f"crash-{random.SystemRandom().randrange(10**9)}")
        self.service = Fleet(binaries.service, folder / "service", folder / "service.log",
                             ("--database", url, "--contents", engines.gateway.address, *SERVICE_OPTIONS), INSTANCES)
        self.service.environment = os.environ | engines.variables
        self.start_service()
        Farm(binaries, folder / "farm", self.service).make()
        self.office_token = self.office.login(OFFICE, PASSWORDS[OFFICE])
        if plan.has_inboxes:
            operator = Wire(self.service)
            operator.login(OPERATOR, PASSWORDS[OPERATOR])
            for project in PROJECTS:
                operator.make_inbox(project)

    def start_service(self):
        self.service.start()

    def kill_service(self, waits=False):
        victim = self._chance.choice(self.service.instances)
        return victim.process is not None and killed(victim.process)

    def reap_service(self):
        for instance in self.service.instances:
            if instance.process and not instance.is_running and not instance.process.stdout.closed:
                instance.kill()

    def service_findings(self):
        damage = self.service.damage()
        return [damage] if damage else []

    def close(self):
        self.service.close()
        super().close()
