"""A link between console and service that its user can slow, hold and cut."""

import asyncio
import sys
import threading
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[3] / "tools/badlink"))

from kelvolink import sockets  # noqa: E402
from kelvolink.clock import Clock  # noqa: E402
from kelvolink.proxy import Proxy  # noqa: E402
from kelvolink.scenario import Rule, Scenario  # noqa: E402
from kelvolink.values import Span  # noqa: E402

GUARD_SECONDS = 60  # ends a test that hangs
SLOW_STALL_SECONDS = 0.25  # a slow link carries its bytes in portions, with stalls of this time between them


class Link:
    """Forwards connections to a service. The proxy runs on its own thread.

    `slow(side, n)`: each connection carries n bytes a second in this direction, until `release`.
    `hold(side, n)`: each connection stops after n more bytes in this direction, until `release`.
    `cut(side, n)`: resets one connection after n more bytes in this direction.
    The bytes count for each connection, so a few hundred bytes never hold the quiet event stream.
    """

    def __init__(self, target, listen="127.0.0.1:0"):
        self._done = []  # the actions that the proxy logged
        self._lock = threading.Condition()  # guards _done
        self._rules = {}  # (action, side): the current rule
        self._count = 0
        self._loop = asyncio.new_event_loop()
        self._thread = threading.Thread(target=self._loop.run_forever, daemon=True)
        self._thread.start()
        self._proxy, self.address = self._call(self._open, sockets.endpoint(target), sockets.endpoint(listen))

    def slow(self, side, bytes_per_second):
        portion = round(bytes_per_second * SLOW_STALL_SECONDS)
        self._call(self._set_rule, "stall", side, portion, None, SLOW_STALL_SECONDS)

    def hold(self, side, after):
        self._call(self._set_rule, "stall", side, after)

    def wait_until_held(self):
        """Waits until a connection is held."""
        with self._lock:
            if not self._lock.wait_for(lambda: "stall" in self._done, GUARD_SECONDS):
                raise AssertionError("no connection has carried enough bytes to be held")

    def release(self):
        self._call(self._release)

    def cut(self, side, after):
        self._call(self._set_rule, "reset", side, after, 1)

    @property
    def cuts(self):
        with self._lock:
            return self._done.count("reset")

    def close(self):
        if self._loop.is_closed():
            return
        asyncio.run_coroutine_threadsafe(self._proxy.close(), self._loop).result(GUARD_SECONDS)
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join()
        self._loop.close()
        if self._proxy.failure.done():
            raise self._proxy.failure.result()

    def write(self, did, **_):
        """The proxy's journal. Called on the proxy's thread."""
        with self._lock:
            self._done.append(did)
            self._lock.notify_all()

    def _call(self, work, *arguments):
        async def run():
            return work(*arguments)
        return asyncio.run_coroutine_threadsafe(run(), self._loop).result(GUARD_SECONDS)

    # On the proxy's thread.

    def _open(self, target, listen):
        proxy = Proxy(Scenario("link"), 1, target, Clock(), self)
        return proxy, proxy.open(*listen)

    def _set_rule(self, what, side, after, times=None, seconds=None):
        """Acts once on each connection, or with `seconds` again and again."""
        self._drop_rule(what, side)
        self._count += 1
        rule = Rule(self._count, what, side, after_bytes=Span(after, after), times=times,
                    seconds=seconds and Span(seconds, seconds), repeat=seconds is not None)
        self._rules[(what, side)] = rule
        self._proxy.add_rule(rule)

    def _drop_rule(self, what, side):
        if what == "stall":
            with self._lock:
                self._done = [did for did in self._done if did != what]
        if rule := self._rules.pop((what, side), None):
            self._proxy.remove_rule(rule)

    def _release(self):
        for side in ("up", "down"):
            self._drop_rule("stall", side)
        self._proxy.release()
