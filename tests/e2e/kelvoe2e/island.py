"""A network of its own for a console. The network can go and come back, as a modem's does.

The module is also the program that forwards the connections, inside the network.
"""

import asyncio
import subprocess
import sys
import threading

NAMESPACE = ("unshare", "--map-root-user", "--net")
HOST = "127.0.0.1"


def can_isolate():
    """Whether this machine allows a network of its own."""
    return subprocess.run([*NAMESPACE, "ip", "link", "set", "lo", "up"], stderr=subprocess.DEVNULL,
                          check=False).returncode == 0


class Island:
    """`prefix` starts a program in the network. There `address` leads to the service."""

    def __init__(self, target, folder):
        host, port = target.rsplit(":", 1)
        self._path = str(folder / "island")
        self._loop = asyncio.new_event_loop()
        threading.Thread(target=self._loop.run_forever, daemon=True).start()
        self._server = asyncio.run_coroutine_threadsafe(
            asyncio.start_unix_server(forward_to(lambda: asyncio.open_connection(host, int(port))), self._path),
            self._loop).result()
        self._process = subprocess.Popen([*NAMESPACE, sys.executable, "-B", "-m", "kelvoe2e.island", self._path],
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.address = f"{HOST}:{self._process.stdout.readline().strip()}"
        self.prefix = ("nsenter", "--user", "--preserve-credentials", "--net", "--target", str(self._process.pid))

    def lose_network(self):
        self._command("ip addr flush dev lo")

    def regain_network(self):
        self._command(f"ip addr add {HOST}/8 dev lo")

    def _command(self, command):
        self._process.stdin.write(command + "\n")
        self._process.stdin.flush()
        if self._process.stdout.readline() != "0\n":
            raise RuntimeError(f"{command} failed")

    def close(self):
        self._process.stdin.close()
        self._process.wait()
        self._process.stdout.close()
        self._loop.call_soon_threadsafe(self._server.close)
        self._loop.call_soon_threadsafe(self._loop.stop)


def forward_to(connect):
    async def pump(reader, writer):
        try:
            while data := await reader.read(65536):
                writer.write(data)
                await writer.drain()
        except OSError:
            pass
        writer.close()

    async def forward(reader, writer):
        try:
            other_reader, other_writer = await connect()
        except OSError:
            writer.close()
            return
        await asyncio.gather(pump(reader, other_writer), pump(other_reader, writer))
    return forward


async def run(path):
    """Forwards until the end of the standard input. Runs each of its lines as a command."""
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    server = await asyncio.start_server(forward_to(lambda: asyncio.open_unix_connection(path)), HOST, 0)
    print(server.sockets[0].getsockname()[1], flush=True)
    while line := await asyncio.to_thread(sys.stdin.readline):
        print(subprocess.run(line.split(), check=False).returncode, flush=True)


if __name__ == "__main__":
    asyncio.run(run(sys.argv[1]))
