"""Bytes, delay, bandwidth and the use of memory and descriptors."""

import asyncio
import os
import resource
import socket
import unittest

from kelvotools.case import MUCH, LinkCase, rule


class PassingTest(LinkCase):
    async def test_bytes_and_ends_pass_both_ways(self):
        self.play("")
        client, service = await self.connect()
        await client.send(b"question")
        client.end()
        self.assertEqual(await service.read_to_end(), b"question")
        await service.send(b"answer")
        service.end()
        self.assertEqual(await client.read_to_end(), b"answer")
        self.assertEqual({key: (await self.until_logged("closed"))[key] for key in ("how", "up", "down")},
                         {"how": "done", "up": 8, "down": 6})

    async def test_a_reset_passes(self):
        self.play("")
        client, service = await self.connect()
        await service.abort()
        await client.reset()
        self.assertEqual((await self.until_logged("closed"))["how"], "reset")

    async def test_a_reset_passes_after_an_end(self):
        self.play("")
        client, service = await self.connect()
        service.end()
        self.assertEqual(await client.read_to_end(), b"")
        await service.abort()
        await client.send(b"no receiver")
        await self.until_logged("closed")
        self.assertEqual(self.journal.of("closed")[0]["how"], "reset")

    async def test_a_client_of_a_dead_service_is_reset(self):
        self._server.close()
        await self._server.wait_closed()
        self.play("")
        await (await self.connect_client()).reset()
        self.assertEqual((await self.until_logged("closed"))["how"], "unreachable")

    async def test_a_fast_sender_waits_while_the_link_stalls(self):
        self.play("buffer_bytes = 50_000\n" + rule("stall", direction="up", seconds=20))
        client, service = await self.connect()
        sends = asyncio.create_task(client.send(bytes(MUCH)))
        connection, = self.proxy.connections
        await self.until(lambda: connection.held_bytes["up"] == 50_000)
        self.assertFalse(sends.done())
        await service.send(b"the other direction")
        self.assertEqual(await client.receive(19), b"the other direction")
        self.clock.advance_to(20)
        left, most = MUCH, 0
        while left > 0:
            left -= len(await service.receive(min(left, 40_000)))
            most = max(most, connection.held_bytes["up"])
        await sends
        self.assertLessEqual(most, 50_000)

    async def test_thousands_of_connections_leak_no_descriptor(self):
        asyncio.get_running_loop().set_debug(False)  # debug mode makes each call slow
        self.play(rule("reset", every=3, after_bytes=5) + rule("cut", nth=[2, 4], after_bytes=3)
                  + rule("half-open", every=5, after_bytes=2))
        before = len(os.listdir("/proc/self/fd"))
        for number in range(1, 2001):
            client, service = await self.connect()
            await client.send(b"0123456789")
            client.end()
            if number % 3 and number % 5 and number not in (2, 4):
                self.assertEqual(await service.read_to_end(), b"0123456789")
            await service.close()
            await client.close()
            self._peers.clear()
        async with self.running_clock():
            await self.until_logged("closed", 2000)
        await self.until(lambda: len(os.listdir("/proc/self/fd")) <= before)
        self.assertEqual(self.proxy.connections, set())

    async def test_accepting_pauses_when_no_descriptor_is_free(self):
        self.play("")
        limits = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (256, limits[1]))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, limits)
        connects = asyncio.create_task(self.connect_client())
        await asyncio.sleep(0)  # its socket needs a descriptor first
        taken = []
        try:
            while True:
                taken.append(os.dup(0))
        except OSError:
            await self.clock.until_waited_for(1)
        finally:
            for each in taken:
                os.close(each)
        self.clock.advance_to(1)
        client, service = await connects, await self._accepted.get()
        await client.send(b"at last")
        self.assertEqual(await service.receive(7), b"at last")
        self.assertEqual(len(self.journal.of("overloaded")), 1)

    async def test_close_also_closes_a_client_that_was_just_accepted(self):
        self.play("")
        client, other = socket.socketpair()
        self.addCleanup(other.close)
        self.proxy._arrived(client)
        await self.proxy.close()
        await self.until(lambda: client.fileno() == -1)

    async def test_close_resets_the_open_connections(self):
        self.play(rule("stall", every=2) + rule("half-open", every=3))
        pairs = [await self.connect() for _ in range(6)]
        await self.until(lambda: len(self.proxy.connections) == 6)
        await self.proxy.close()
        for client, service in pairs:
            await client.reset()
            await service.reset()
        self.assertEqual([event["how"] for event in self.journal.of("closed")], ["shutdown"] * 6)


class ShapeTest(LinkCase):
    async def test_a_delay_applies_to_each_direction(self):
        self.play(rule("delay", seconds=0.2))
        client, service = await self.connect()
        await client.send(b"question")
        await self.clock.until_waited_for(0.2)
        self.clock.advance_to(0.2)
        self.assertEqual(await service.receive(8), b"question")
        await service.send(b"answer")
        await self.clock.until_waited_for(0.4)
        self.clock.advance_to(0.4)
        self.assertEqual(await client.receive(6), b"answer")

    async def test_a_delay_also_delays_the_end_and_delays_add_up(self):
        self.play(rule("delay", seconds=1, direction="up") + rule("delay", seconds=2))
        client, service = await self.connect()
        client.end()
        await self.clock.until_waited_for(3)
        self.clock.advance_to(3)
        self.assertEqual(await service.read_to_end(), b"")

    async def test_a_bandwidth_limits_the_rate(self):
        self.play(rule("bandwidth", bytes_per_second=1000, direction="up"))
        self.assertAlmostEqual(await self.seconds_for(1, 2000), 2)

    async def test_each_connection_has_its_own_bandwidth(self):
        self.play(rule("bandwidth", bytes_per_second=1000))
        self.assertAlmostEqual(await self.seconds_for(2, 2000), 2)

    async def test_a_shared_bandwidth_limits_all_connections_together(self):
        self.play(rule("bandwidth", bytes_per_second=1000, shared=True))
        self.assertAlmostEqual(await self.seconds_for(2, 2000), 4)

    async def seconds_for(self, connections, size):
        """Returns the seconds until all connections have received `size` bytes."""
        pairs = [await self.connect() for _ in range(connections)]
        for client, _ in pairs:
            await client.send(bytes(size))
        await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [size] * connections)
        async with self.running_clock():
            await asyncio.gather(*(service.receive(size) for _, service in pairs))
            return self.clock.now()


if __name__ == "__main__":
    unittest.main()
