"""The headless console as a process: commands in, lines out."""

import json
import os
import re
import signal
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

GUARD_SECONDS = 300  # ends only a console that hangs; its own --timeout is shorter
COMMAND_SECONDS = 120
RESULT = re.compile(r"^(ok|started|FAILED) (\w+)(?:: (.*))?$")


class ConsoleError(Exception):
    """The console ended, or an expected line did not come."""


@dataclass(frozen=True)
class Line:
    """A line that the console printed. `name` and `arguments` are set for a signal, `position` for a position."""
    at: float  # monotonic clock, seconds
    text: str
    name: str = None
    arguments: dict = field(default_factory=dict)
    position: dict = None

    @classmethod
    def read(cls, text):
        if text.startswith("signal "):
            _, name, arguments = text.split(" ", 2)
            return cls(time.monotonic(), text, name, json.loads(arguments))
        if text.startswith("position {"):
            return cls(time.monotonic(), text, position=json.loads(text.split(" ", 1)[1]))
        return cls(time.monotonic(), text)


@dataclass(frozen=True)
class Result:
    """The result of a command, and the lines since the command was sent."""
    ok: bool
    reason: str
    lines: list

    def signals(self, name):
        return [line for line in self.lines if line.name == name]

    @property
    def errors(self):
        """The error records of the last completion."""
        records = [line.arguments["errors"] for line in self.lines if "errors" in line.arguments]
        return records[-1] if records else []

    def value(self, word):
        """The JSON of a line such as `list {...}`."""
        for line in self.lines:
            if line.text.startswith(word + " {"):
                return json.loads(line.text[len(word) + 1:])
        raise ConsoleError(f"no {word} line came")


class Console:
    """One run of the console. A transcript holds its lines and the commands."""

    def __init__(self, binaries, service_address, ca, data, transcript, user, password,
                 timeout=COMMAND_SECONDS, credentials_file=None, prefix=(), options=()):
        self.data = data
        self.transcript_path = transcript
        self._transcript = open(transcript, "a", encoding="utf-8")
        self._log = open(f"{transcript}.stderr", "ab")
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("KELVO_API_HOST", "KESDK_CA_FILE", "KELVO_USER", "KELVO_PASSWORD")}
        environment.setdefault("XDG_RUNTIME_DIR", own_runtime_folder())
        credentials = []
        if credentials_file:
            credentials = ["--credentials", str(credentials_file)]
        else:
            environment.update(KELVO_USER=user, KELVO_PASSWORD=password)
        trust = ["--ca", str(ca)] if ca else []
        self.process = subprocess.Popen(
            [*prefix, str(binaries.console), "--headless", "--plugin", str(binaries.plugin), "--service",
             service_address, *trust, *credentials, "--data", str(data), "--timeout", str(timeout),
             *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self._log, env=environment)
        self.lines = []
        self._ended = False
        self._news = threading.Condition()  # guards lines and _ended
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for raw in self.process.stdout:
            line = Line.read(raw.decode().rstrip("\n"))
            with self._news:
                self.lines.append(line)
                self._transcript.write(line.text + "\n")
                self._transcript.flush()
                self._news.notify_all()
        with self._news:
            self._ended = True
            self._news.notify_all()

    def mark(self):
        """The current place in the lines, for a later search."""
        with self._news:
            return len(self.lines)

    def send(self, command):
        with self._news:
            self._transcript.write(f"> {command}\n")
        try:
            self.process.stdin.write(command.encode() + b"\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            raise ConsoleError(f"the console has ended; see {self._log.name}") from None

    def wait_for(self, wanted, mark, what):
        """The first line since `mark` for which `wanted` is true."""
        deadline = time.monotonic() + GUARD_SECONDS
        position = mark
        with self._news:
            while True:
                while position < len(self.lines):
                    line = self.lines[position]
                    position += 1
                    if wanted(line):
                        return line
                if self._ended:
                    raise ConsoleError(f"the console ended before {what} came; see {self._log.name}")
                if not self._news.wait(deadline - time.monotonic()):
                    raise ConsoleError(f"{what} did not come in {GUARD_SECONDS} s")

    def wait_for_signal(self, name, mark, wanted=lambda arguments: True):
        return self.wait_for(lambda line: line.name == name and wanted(line.arguments), mark, f"the expected {name}")

    def wait_for_list(self, kind, wanted, mark):
        """The first list of a kind whose set of names `wanted` says yes to."""
        return self.wait_for_signal(
            "NewKelvoProjectFilesList", mark,
            lambda arguments: arguments["project"] == kind
            and wanted({file["name"] for file in arguments["files"]}))

    def run(self, command):
        """Sends a command and waits for its result. A command with & has the result "started"."""
        verb = command.split()[0]
        mark = self.mark()
        self.send(command)
        return self._result(verb, mark, ("started", "ok", "FAILED"))

    def finish(self, verb, mark):
        """Waits for the end of a command that was started with & after `mark`."""
        return self._result(verb, mark, ("ok", "FAILED"))

    def _result(self, verb, mark, outcomes):
        def is_result(line):
            match = RESULT.match(line.text)
            return match and match[2] == verb and match[1] in outcomes
        last = self.wait_for(is_result, mark, f"the result of {verb}")
        with self._news:
            lines = self.lines[mark:self.lines.index(last, mark) + 1]
        match = RESULT.match(last.text)
        return Result(match[1] != "FAILED", match[3] or "", lines)

    def close(self):
        """Ends the script and returns the exit status."""
        if self.process.poll() is None:
            try:
                self.process.stdin.close()
            except BrokenPipeError:
                pass
        return self._wait()

    def stop(self, number=signal.SIGTERM):
        self.process.send_signal(number)
        return self._wait()

    def kill(self):
        self.process.kill()
        return self._wait()

    def _wait(self):
        try:
            status = self.process.wait(GUARD_SECONDS)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise ConsoleError("the console did not end") from None
        finally:
            self._reader.join()
            if not self.process.stdin.closed:
                try:
                    self.process.stdin.close()
                except BrokenPipeError:
                    pass
            self.process.stdout.close()
            self._transcript.close()
            self._log.close()
        return status

    def stderr(self):
        with open(self._log.name, encoding="utf-8", errors="replace") as log:
            return log.read()


def own_runtime_folder():
    """A runtime folder for Qt, which warns if there is none. A machine without a logged-in user has none."""
    folder = Path(tempfile.gettempdir()) / f"kelvo-runtime-{os.getuid()}"
    folder.mkdir(mode=0o700, exist_ok=True)
    return str(folder)


def quoted(names):
    """File names in the form of a command."""
    return " ".join(f"'{name}'" if "'" not in name else f'"{name}"' for name in names)
