"""A copy of the tree with a build folder of its own. The mutants are planted in it, never in the tree.

The copy is built as the leg check builds the tree, so that the unchanged files come from the compiler cache."""

import os
import re
import shlex
import shutil
import signal
import subprocess
from dataclasses import dataclass

FAILED_TEST = re.compile(r"^\s+\d+ - (.+) \(([^()]+)\)", re.MULTILINE)  # in the summary of ctest
PASSED_TEST = re.compile(r"Test +#\d+: (.+?) \.+ +Passed +([0-9.]+) sec")


# A mutant may leave a function or a value without a use.
ALLOWED_WARNINGS = "".join(f'#pragma GCC diagnostic ignored "-Wunused-{what}"\n'
                           for what in ("function", "parameter", "variable", "const-variable", "but-set-variable"))


class BuildError(Exception):
    """The copy cannot be configured or built. The text has the errors, or the end of the output."""


@dataclass
class Result:
    """The result of a check. `failed` is empty if the check passed."""
    failed: str = ""
    has_run: bool = True
    output: str = ""

    def seconds_of(self, name):
        """The run time of the passed tests of this name."""
        return sum(float(seconds) for test, seconds in PASSED_TEST.findall(self.output) if is_of(test, name))


def is_of(test, name):
    """Whether `name` is the test's name, or a beginning of it before a dot or slash."""
    return test == name or test.startswith((name + ".", name + "/"))


def _expression(names):
    """A regular expression of ctest for the tests of these names or beginnings of names."""
    return "^(" + "|".join(re.escape(name) for name in names) + ")($|[./])"


def _sources(tree):
    listed = subprocess.run(["git", "-C", tree, "ls-files", "--cached", "--others", "--exclude-standard", "-z"],
                            check=True, capture_output=True, text=True).stdout
    return {name for name in listed.split("\0") if name and os.path.lexists(tree / name)}


class Copy:
    def __init__(self, tree, folder, jobs):
        self.tree, self.folder, self.jobs = tree, folder, jobs
        self.build_folder = folder / "build/check"
        self._environment = dict(os.environ, CCACHE_BASEDIR=str(folder), CCACHE_NOHASHDIR="1",
                                 CTEST_PARALLEL_LEVEL=str(jobs))

    def refresh(self):
        """Makes the copy the same as the tree. Files that are the same already keep their dates."""
        wanted = _sources(self.tree)
        kept = self.folder / "sources"
        if kept.exists():
            for name in set(kept.read_text(encoding="utf-8").split("\0")) - wanted:
                (self.folder / name).unlink(missing_ok=True)
        for name in wanted:
            self._take(name)
        kept.write_text("\0".join(sorted(wanted)), encoding="utf-8")

    def _take(self, name):
        source, target = self.tree / name, self.folder / name
        if source.is_symlink():
            if not target.is_symlink() or os.readlink(target) != os.readlink(source):
                target.parent.mkdir(parents=True, exist_ok=True)
                target.unlink(missing_ok=True)
                target.symlink_to(os.readlink(source))
        elif not target.is_file() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, target)
        if not source.is_symlink():
            target.chmod(source.stat().st_mode)

    def configure(self):
        self._run_or_raise(["cmake", "--preset", "check", "-DKELVO_BENCH=OFF"])

    def build(self, targets, jobs=None):
        self._run_or_raise(["cmake", "--build", self.build_folder, "--parallel", str(jobs or self.jobs),
                            "--target", *sorted(targets)])

    def _run_or_raise(self, command):
        done = subprocess.run(command, cwd=self.folder, env=self._environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace")
        if done.returncode:
            lines = done.stdout.splitlines()
            raise BuildError("\n".join([line for line in lines if "error:" in line] or lines[-40:]))

    def plant(self, mutant):
        """Changes the files, or raises Stale. Returns the texts of the files for restore()."""
        originals, texts = mutant.planted_in(self.folder)
        self.restore({name: ALLOWED_WARNINGS + text if name.endswith(".cpp") else text for name, text in texts.items()})
        return originals

    def restore(self, texts):
        for name, text in texts.items():
            (self.folder / name).write_text(text, encoding="utf-8")

    def count_tests(self, name):
        listed = subprocess.run(["ctest", "--test-dir", self.build_folder, "-N", "-R", _expression([name])],
                                check=True, capture_output=True, text=True, env=self._environment).stdout
        return int(re.search(r"Total Tests: (\d+)", listed)[1])

    def test(self, names, seconds):
        """Runs the tests up to the first failure."""
        output, status = self._run_for(["ctest", "--test-dir", self.build_folder, "--stop-on-failure",
                                        "--no-tests=error", "--output-on-failure", "-R", _expression(names)], seconds)
        if status is None:
            return Result(f"no end after {seconds} s", True, output)
        failures = [(name, kind) for name, kind in FAILED_TEST.findall(output) if kind not in ("Not Run", "Disabled")]
        if status and not failures:
            return Result("no test", False, output)
        first = "" if not status else failures[0][0] + ("" if failures[0][1] == "Failed" else f" ({failures[0][1]})")
        return Result(first, True, output)

    def command(self, command, seconds):
        words = shlex.split(command.replace("{build}", str(self.build_folder)))
        output, status = self._run_for(words, seconds)
        if status is None:
            return Result(f"no end after {seconds} s", True, output)
        return Result(f"exit status {status}" if status else "", status not in (126, 127), output)

    def _run_for(self, command, seconds):
        """The output and the exit status, None if the time was over."""
        with subprocess.Popen(command, cwd=self.folder, env=self._environment, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace",
                              start_new_session=True) as process:
            try:
                return process.communicate(timeout=seconds)[0], process.returncode
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                self.end_programs()
                return process.communicate()[0], None
            finally:
                self.end_programs()

    def end_programs(self):
        """Ends the programs of this build folder that a stopped test has left."""
        for link in filter(lambda path: path.name.isdigit(), os.scandir("/proc")):
            try:
                program = os.readlink(f"/proc/{link.name}/exe")
                if program.startswith(f"{self.build_folder}/"):
                    os.kill(int(link.name), signal.SIGKILL)
            except OSError:
                continue  # ended meanwhile, or another user's
