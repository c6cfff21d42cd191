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

ERROR, USAGE_ERROR = 1, 2
EPILOG = """\
SCENARIO is the name of a shipped scenario or a file; badlink.md explains its keys. With the same scenario and seed,
connection N has the same plan in every run. SIGTERM or Ctrl-C ends the proxy and resets the open connections.
Exit status: 0, 1 after an error, 2 after an error in the command line.
"""


def _endpoint(value):
    try:
        return sockets.endpoint(value)
    except ValueError as problem:
        raise argparse.ArgumentTypeError(str(problem)) from None


def _parser():
    parser = argparse.ArgumentParser(
        description="A TCP proxy that simulates a bad rural cellular link.", epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--listen", type=_endpoint, default=("127.0.0.1", 0), metavar="HOST:PORT",
                        help="the address for clients; port 0 takes a free port (default: 127.0.0.1:0)")
    parser.add_argument("--to", type=_endpoint, metavar="HOST:PORT", help="the address of the service")
    parser.add_argument("--scenario", metavar="SCENARIO", help="the faults of the link")
    parser.add_argument("--seed", type=int, default=1, metavar="N", help="the seed of all random choices (default: 1)")
    parser.add_argument("--log", metavar="FILE",
                        help="write each action on a connection as a JSON line; overwrites the file")
    parser.add_argument("--check", metavar="SCENARIO", help="print the errors of a scenario, and exit")
    parser.add_argument("--list", action="store_true", help="list the shipped scenarios, and exit")
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
            parser.error("--to and --scenario are required")
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
    return ERROR


def _list():
    for path in scenarios.shipped():
        print(f"{path.stem:<12} {scenarios.read(path).description}")
    return 0


def _check(name):
    path = scenarios.find(name)
    found = scenarios.read(path)
    print(f"{path}: {len(found.rules)} rules and {len(found.outages)} outages, no errors")
    return 0


async def _play(scenario, options, log):
    clock = Clock()
    proxy = Proxy(scenario, options.seed, options.to, clock, Journal(clock, log))
    is_signalled = asyncio.Event()
    for number in (signal.SIGTERM, signal.SIGINT):
        asyncio.get_running_loop().add_signal_handler(number, is_signalled.set)
    try:
        address = proxy.open(*options.listen)
        print(f"badlink: listening on {address}, to {sockets.named(options.to)}, "
              f"scenario {scenario.name}, seed {options.seed}", flush=True)
        waits = asyncio.create_task(is_signalled.wait())
        await asyncio.wait((waits, proxy.failure), return_when=asyncio.FIRST_COMPLETED)
        waits.cancel()
    finally:
        await proxy.close()
    if proxy.failure.done():
        traceback.print_exception(proxy.failure.result())
        return ERROR
    return 0
