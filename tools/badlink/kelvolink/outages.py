"""Outages of the whole link."""

import math
import random


async def play(outage, proxy):
    """Runs the outage, or all its repetitions until the task is cancelled."""
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
        _apply_to(outage.open, connection, end)
    if outage.new == "refuse":
        proxy.refuse_until(end)
    # A connection that was accepted before the outage may open only now.
    stop_observing = proxy.on_opened(lambda connection: _apply_to("stall", connection, end))
    try:
        await proxy.clock.sleep_until(end)
    finally:
        stop_observing()
    proxy.journal.write("outage-over", outage=outage.number + 1)


def _apply_to(what, connection, end):
    if what == "leave":
        return
    seconds = math.inf if what == "half-open" else end - connection.clock.now()
    connection.apply_outage(what, seconds)
