"""A farm with its own service, an operator and an office."""

from .office import Ctl
from .service import Service

FARM, OPERATOR, OFFICE = "Hill Farm", "olga", "office"
PASSWORDS = {OPERATOR: "seven green fields", OFFICE: "papers on the desk"}


class Farm:
    """All files are in one folder: `service/`, `work/` with the sessions, and logs. Another `service` may be a fleet."""

    def __init__(self, binaries, folder, service=None):
        self.binaries, self.folder = binaries, folder
        self.work = folder / "work"
        self.work.mkdir(parents=True, exist_ok=True)
        self.service = service or Service(binaries.service, folder / "service", folder / "service.log")

    def ctl(self, user):
        return Ctl(self.binaries.kelvoctl, self.service, self.work / f"{user}.session", self.folder / "kelvoctl.log")

    def make(self):
        """Creates the farm and its users on a running service. Returns the logged-in office."""
        admin = self.ctl("admin")
        admin.run("login", "admin", "--password-file", self.service.admin_password_file)
        admin.run("farm", "add", FARM)
        admin.add_user(OFFICE, "office", FARM, PASSWORDS[OFFICE])
        admin.add_user(OPERATOR, "operator", FARM, PASSWORDS[OPERATOR])
        return self.ctl(OFFICE).login(OFFICE, PASSWORDS[OFFICE])
