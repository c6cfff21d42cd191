"""What passes a link, how late and how fast, and what the proxy leaves behind."""

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
        self.assertEqual(await service.rest(), b"question")
        await service.send(b"answer")
        service.end()
        self.assertEqual(await client.rest(), b"answer")
        self.assertEqual({key: (await self.until_done("closed"))[key] for key in ("how", "up", "down")},
                         {"how": "done", "up": 8, "down": 6})

    async def test_a_reset_passes(self):
        self.play("")
        client, service = await self.connect()
        await service.abort()
        await client.reset()
        self.assertEqual((await self.until_done("closed"))["how"], "reset")

    async def test_a_reset_passes_behind_an_end(self):
        self.play("")
        client, service = await self.connect()
        service.end()
        self.assertEqual(await client.rest(), b"")
        await service.abort()
        await client.send(b"nobody is there")
        await self.until_done("closed")
        self.assertEqual(self.journal.of("closed")[0]["how"], "reset")

    async def test_a_client_of_a_dead_service_is_reset(self):
        self._server.close()
        await self._server.wait_closed()
        self.play("")
        await (await self.knock()).reset()
        self.assertEqual((await self.until_done("closed"))["how"], "unreachable")

    async def test_a_fast_sender_waits_for_a_stalled_line(self):
        self.play("buffer_bytes = 50_000\n" + rule("stall", direction="up", seconds=20))
        client, service = await self.connect()
        sends = asyncio.create_task(client.send(bytes(MUCH)))
        connection, = self.proxy.connections
        await self.until(lambda: connection.held_bytes["up"] == 50_000)
        self.assertFalse(sends.done())
        await service.send(b"the other direction")
        self.assertEqual(await client.receive(19), b"the other direction")
        self.clock.go_to(20)
        left, most = MUCH, 0
        while left > 0:
            left -= len(await service.receive(min(left, 40_000)))
            most = max(most, connection.held_bytes["up"])
        await sends
        self.assertLessEqual(most, 50_000)

    async def test_thousands_of_connections_leave_nothing_behind(self):
        asyncio.get_running_loop().set_debug(False)  # it makes each call a slow one
        self.play(rule("reset", every=3, after_bytes=5) + rule("cut", nth=[2, 4], after_bytes=3)
                  + rule("half-open", every=5, after_bytes=2))
        before = len(os.listdir("/proc/self/fd"))
        for number in range(1, 2001):
            client, service = await self.connect()
            await client.send(b"0123456789")
            client.end()
            if number % 3 and number % 5 and number not in (2, 4):
                self.assertEqual(await service.rest(), b"0123456789")
            await service.close()
            await client.close()
            self._peers.clear()
        async with self.running_clock():
            await self.until_done("closed", 2000)
        await self.until(lambda: len(os.listdir("/proc/self/fd")) <= before)
        self.assertEqual(self.proxy.connections, set())

    async def test_it_rests_when_descriptors_run_out(self):
        self.play("")
        limits = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (256, limits[1]))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, limits)
        knocks = asyncio.create_task(self.knock())
        await asyncio.sleep(0)  # its socket is made before there are none
        taken = []
        try:
            while True:
                taken.append(os.dup(0))
        except OSError:
            await self.clock.asked(1)
        finally:
            for each in taken:
                os.close(each)
        self.clock.go_to(1)
        client, service = await knocks, await self._accepted.get()
        await client.send(b"at last")
        self.assertEqual(await service.receive(7), b"at last")
        self.assertEqual(len(self.journal.of("overloaded")), 1)

    async def test_a_client_that_has_just_arrived_is_closed_with_the_proxy(self):
        self.play("")
        client, other = socket.socketpair()
        self.addCleanup(other.close)
        self.proxy._arrived(client)
        await self.proxy.close()
        await self.until(lambda: client.fileno() == -1)

    async def test_the_end_of_the_proxy_resets_what_is_open(self):
        self.play(rule("stall", every=2) + rule("half-open", every=3))
        pairs = [await self.connect() for _ in range(6)]
        await self.until(lambda: len(self.proxy.connections) == 6)
        await self.proxy.close()
        for client, service in pairs:
            await client.reset()
            await service.reset()
        self.assertEqual([event["how"] for event in self.journal.of("closed")], ["shutdown"] * 6)


class ShapeTest(LinkCase):
    async def test_a_delay_is_that_of_each_way(self):
        self.play(rule("delay", seconds=0.2))
        client, service = await self.connect()
        await client.send(b"question")
        await self.clock.asked(0.2)
        self.clock.go_to(0.2)
        self.assertEqual(await service.receive(8), b"question")
        await service.send(b"answer")
        await self.clock.asked(0.4)
        self.clock.go_to(0.4)
        self.assertEqual(await client.receive(6), b"answer")

    async def test_a_delay_holds_ends_back_too_and_delays_add_up(self):
        self.play(rule("delay", seconds=1, direction="up") + rule("delay", seconds=2))
        client, service = await self.connect()
        client.end()
        await self.clock.asked(3)
        self.clock.go_to(3)
        self.assertEqual(await service.rest(), b"")

    async def test_a_bandwidth_is_kept(self):
        self.play(rule("bandwidth", bytes_per_second=1000, direction="up"))
        self.assertAlmostEqual(await self.time_of(1, 2000), 2)

    async def test_each_connection_has_its_own_bandwidth(self):
        self.play(rule("bandwidth", bytes_per_second=1000))
        self.assertAlmostEqual(await self.time_of(2, 2000), 2)

    async def test_a_shared_bandwidth_is_that_of_all_together(self):
        self.play(rule("bandwidth", bytes_per_second=1000, shared=True))
        self.assertAlmostEqual(await self.time_of(2, 2000), 4)

    async def time_of(self, connections, size):
        """On a running clock, until all have received that many bytes."""
        pairs = [await self.connect() for _ in range(connections)]
        for client, _ in pairs:
            await client.send(bytes(size))
        await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [size] * connections)
        async with self.running_clock():
            await asyncio.gather(*(service.receive(size) for _, service in pairs))
            return self.clock.now()


if __name__ == "__main__":
    unittest.main()
