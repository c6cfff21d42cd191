"""The command line."""

import argparse
import asyncio
import contextlib
import signal
import sys
import traceback

from . import scenario as scenarios
from . import sockets
from .clock import Clock
from .journal import Journal
from .proxy import Proxy

WRONG, USAGE = 1, 2
EPILOG = """\
A scenario is the name of a shipped one or a file; badlink.md has its keys. The same scenario and seed do the
same to the same connections, counted in the order in which they arrive. SIGTERM or Ctrl-C ends it and resets what
is open. Exit status: 0, 1 if something is wrong, 2 if the command line is.
"""


def _endpoint(value):
    try:
        return sockets.endpoint(value)
    except ValueError as problem:
        raise argparse.ArgumentTypeError(str(problem)) from None


def _parser():
    parser = argparse.ArgumentParser(
        description="A TCP proxy that plays a bad rural cellular link.", epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--listen", type=_endpoint, default=("127.0.0.1", 0), metavar="HOST:PORT",
                        help="where clients connect to; port 0 takes a free one (default: 127.0.0.1:0)")
    parser.add_argument("--to", type=_endpoint, metavar="HOST:PORT", help="the service")
    parser.add_argument("--scenario", metavar="SCENARIO", help="what the link does")
    parser.add_argument("--seed", type=int, default=1, metavar="N", help="for all that is left to chance (default: 1)")
    parser.add_argument("--log", metavar="FILE", help="what was done to which connection, as JSON lines; overwritten")
    parser.add_argument("--check", metavar="SCENARIO", help="say what is wrong with a scenario, and end")
    parser.add_argument("--list", action="store_true", help="list the shipped scenarios, and end")
    return parser


def main(arguments=None):
    parser = _parser()
    options = parser.parse_args(arguments)
    try:
        if options.list:
            return _list()
        if options.check is not None:
            return _check(options.check)
        if options.to is None or options.scenario is None:
            parser.error("--to and --scenario are wanted")
        scenario = scenarios.read(scenarios.find(options.scenario))
        with contextlib.ExitStack() as stack:
            log = stack.enter_context(open(options.log, "w", encoding="utf-8")) if options.log else None
            return asyncio.run(_play(scenario, options, log))
    except scenarios.ScenarioError as failure:
        return _fail(*failure.problems)
    except OSError as failure:
        return _fail(str(failure))


def _fail(*problems):
    for problem in problems:
        print(f"badlink: {problem}", file=sys.stderr)
    return WRONG


def _list():
    for path in scenarios.shipped():
        print(f"{path.stem:<12} {scenarios.read(path).description}")
    return 0


def _check(name):
    path = scenarios.find(name)
    found = scenarios.read(path)
    print(f"{path}: {len(found.rules)} rules and {len(found.outages)} outages, nothing wrong")
    return 0


async def _play(scenario, options, log):
    clock = Clock()
    proxy = Proxy(scenario, options.seed, options.to, clock, Journal(clock, log))
    told_to_end = asyncio.Event()
    for number in (signal.SIGTERM, signal.SIGINT):
        asyncio.get_running_loop().add_signal_handler(number, told_to_end.set)
    try:
        address = proxy.open(*options.listen)
        print(f"badlink: listening on {address}, to {sockets.named(options.to)}, "
              f"scenario {scenario.name}, seed {options.seed}", flush=True)
        waits = asyncio.create_task(told_to_end.wait())
        await asyncio.wait((waits, proxy.failure), return_when=asyncio.FIRST_COMPLETED)
        waits.cancel()
    finally:
        await proxy.close()
    if proxy.failure.done():
        traceback.print_exception(proxy.failure.result())
        return WRONG
    return 0
