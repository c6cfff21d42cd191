"""The paths of the programs."""

from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Binaries:
    service: Path
    kelvoctl: Path
    console: Path
    plugin: Path
    driver: Path = None  # operates the window; missing in a build without a window

    @classmethod
    def of_build(cls, build):
        """The programs of a build folder. A FileNotFoundError names a missing program."""
        build = Path(build).resolve()
        binaries = cls(build / "bin/kelvo-service", build / "bin/kelvoctl", build / "bin/kelvo-console",
                       build / "lib/libkelvo.so", build / "bin/kelvo-console-driver")
        for path in (binaries.service, binaries.kelvoctl, binaries.console, binaries.plugin):
            if not path.is_file():
                raise FileNotFoundError(f"{path} is missing: is it built?")
        return binaries
