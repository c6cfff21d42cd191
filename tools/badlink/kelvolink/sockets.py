"""Sockets of the proxy: non-blocking, without Nagle's delay, with small kernel buffers."""

import asyncio
import socket

# The kernel's default buffers would take megabytes of a stalled transfer and hide the stall.
KERNEL_BYTES = 64 * 1024


def endpoint(text):
    """Returns (host, port) of HOST:PORT or [HOST]:PORT. Raises ValueError with a text for the user."""
    host, colon, port = text.rpartition(":")
    host = host.removeprefix("[").removesuffix("]")
    if not colon or not host or not port.isascii() or not port.isdigit() or int(port) > 65535:
        raise ValueError(f"{text!r} is not HOST:PORT")
    return host, int(port)


def named(address):
    """Returns HOST:PORT or [HOST]:PORT of a socket's address."""
    host, port = address[:2]
    return f"[{host}]:{port}" if ":" in host else f"{host}:{port}"


def prepare(connection, buffer_bytes):
    size = min(KERNEL_BYTES, buffer_bytes)
    connection.setblocking(False)
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, size)
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, size)


def tune(connection):
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)


async def connect(target, buffer_bytes):
    """Connects to the first of the host's addresses that accepts. Raises OSError if none accepts."""
    loop = asyncio.get_running_loop()
    failure = OSError(f"{target[0]} has no address")
    for family, kind, protocol, _, address in await loop.getaddrinfo(*target, type=socket.SOCK_STREAM):
        connection = socket.socket(family, kind, protocol)
        try:
            prepare(connection, buffer_bytes)
            await loop.sock_connect(connection, address)
            tune(connection)
            return connection
        except OSError as reason:
            failure = reason
            connection.close()
        except BaseException:
            connection.close()
            raise
    raise failure


async def drain(connection):
    """Reads and drops bytes until the other side closes."""
    loop = asyncio.get_running_loop()
    try:
        while await loop.sock_recv(connection, 65536):
            pass
    except OSError:
        pass
