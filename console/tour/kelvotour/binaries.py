"""Where the programs are."""

from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Binaries:
    service: Path
    kelvoctl: Path
    console: Path
    plugin: Path
    driver: Path = None  # works the window; not there in a build without one

    @classmethod
    def of_build(cls, build):
        """The programs of a build folder; FileNotFoundError names what is missing."""
        build = Path(build).resolve()
        binaries = cls(build / "bin/kelvo-service", build / "bin/kelvoctl", build / "bin/kelvo-console",
                       build / "lib/libkelvo.so", build / "bin/kelvo-console-driver")
        for path in (binaries.service, binaries.kelvoctl, binaries.console, binaries.plugin):
            if not path.is_file():
                raise FileNotFoundError(f"{path} is missing: is it built?")
        return binaries
