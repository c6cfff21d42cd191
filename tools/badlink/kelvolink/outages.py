"""The times when there is no link at all."""

import math
import random


async def play(outage, proxy):
    """All of them, until the last one or until it is cancelled."""
    rng = random.Random(f"{proxy.seed}/outage/{outage.number}")
    begin = outage.start_seconds.draw(rng)
    while True:
        await proxy.clock.sleep_until(begin)
        end = begin + outage.last_seconds.draw(rng)
        await _play_one(outage, proxy, end)
        if outage.pause_seconds is None:
            return
        begin = end + outage.pause_seconds.draw(rng)


async def _play_one(outage, proxy, end):
    proxy.journal.write("outage", outage=outage.number + 1, until=round(end, 6), open=outage.open, new=outage.new)
    for connection in list(proxy.connections):
        _strike(outage.open, connection, end)
    if outage.new == "refuse":
        proxy.refuse_until(end)
    # A connection may have knocked before and be ready only now.
    forget = proxy.on_greeting(lambda connection: _strike("stall", connection, end))
    try:
        await proxy.clock.sleep_until(end)
    finally:
        forget()
    proxy.journal.write("outage-over", outage=outage.number + 1)


def _strike(what, connection, end):
    if what == "leave":
        return
    seconds = math.inf if what == "half-open" else end - connection.clock.now()
    connection.strike(what, seconds)
