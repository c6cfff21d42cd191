"""What a bad link does to connections, seen from both of their ends."""

import asyncio
import os
import resource
import socket
import unittest

from kelvotools.case import LinkCase

MUCH = 4_000_000  # more than all buffers on the way can hold


def rule(do, **keys):
    """A scenario of one rule; the values as TOML wants them."""
    lines = [f"{key} = {str(value).lower() if isinstance(value, bool) else repr(value)}" for key, value in keys.items()]
    return "\n".join(["[[rule]]", f"do = '{do}'", *lines, ""])


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


class EndTest(LinkCase):
    async def test_a_cut_ends_both_sides_properly_at_its_byte(self):
        for direction in ("up", "down", "both"):
            with self.subTest(direction):
                self.journal.events.clear()
                self.play(rule("cut", after_bytes=30_000, direction=direction))
                client, service = await self.connect()
                sender, taker = (service, client) if direction == "down" else (client, service)
                await sender.send(b"x" * 30_000)
                self.assertEqual(await taker.receive(30_000), b"x" * 30_000)
                self.assertEqual(self.journal.of("cut"), [])
                await sender.send(b"y" * 10)
                self.assertEqual(await taker.rest(), b"")
                self.assertEqual(await sender.rest(), b"")
                self.assertEqual(self.journal.of("cut")[0]["byte"], 30_000)
                await self.proxy.close()

    async def test_a_cut_is_read_for_a_while_and_closed(self):
        self.play(rule("cut"))
        client, _ = await self.connect()
        self.assertEqual(await client.rest(), b"")
        await self.clock.asked(2)
        self.assertEqual(self.journal.of("closed"), [])
        self.clock.go_to(2)
        self.assertEqual((await self.until_done("closed"))["how"], "cut")

    async def test_a_truncated_direction_ends_and_the_rest_is_swallowed(self):
        self.play(rule("truncate", direction="up", after_bytes=1000))
        client, service = await self.connect()
        await client.send(bytes(MUCH))
        self.assertEqual(await service.rest(), bytes(1000))
        await service.send(b"too short")
        service.end()
        self.assertEqual(await client.rest(), b"too short")
        self.assertEqual(self.journal.of("closed"), [])  # the client may still send
        client.end()
        self.assertEqual((await self.until_done("closed"))["how"], "done")

    async def test_a_reset_resets_both_sides(self):
        self.play(rule("reset", direction="up", after_bytes=3))
        client, service = await self.connect()
        await client.send(b"abc")
        self.assertEqual(await service.receive(3), b"abc")
        await client.send(b"d")
        await client.reset()
        await service.reset()

    async def test_a_reset_comes_in_its_time(self):
        self.play(rule("reset", after_seconds=30))
        client, service = await self.connect()
        await self.clock.asked(30)
        self.assertEqual(self.journal.of("reset"), [])
        self.clock.go_to(30)
        await client.reset()
        await service.reset()

    async def test_a_half_open_connection_takes_all_and_says_nothing(self):
        self.play(rule("half-open", after_bytes=3))
        client, service = await self.connect()
        await client.send(b"abc")
        self.assertEqual(await service.receive(3), b"abc")
        await client.send(bytes(MUCH))
        await service.send(bytes(MUCH))
        connection, = self.proxy.connections
        self.assertEqual(connection.held_bytes, {"up": 0, "down": 0})
        client.end()  # the service must not hear of it
        self.assertEqual(len(self.journal.of("half-open")), 1)
        self.assertEqual(self.journal.of("closed"), [])
        await self.proxy.close()
        await service.reset()  # the first thing it hears

    async def test_a_half_open_connection_goes_when_both_sides_have_given_up(self):
        self.play(rule("half-open"))
        client, service = await self.connect()
        await client.close()
        await service.close()
        await self.until_done("closed")

    async def test_a_half_open_connection_may_end_in_time(self):
        self.play(rule("half-open", seconds=60))
        client, service = await self.connect()
        await self.clock.asked(60)
        self.clock.go_to(60)
        await client.reset()
        await service.reset()

    async def test_one_direction_alone_can_be_half_open(self):
        self.play(rule("half-open", direction="down"))
        client, service = await self.connect()
        await client.send(b"question")
        self.assertEqual(await service.receive(8), b"question")
        await service.send(bytes(MUCH))
        await self.proxy.close()
        await client.reset()


class StallTest(LinkCase):
    async def test_a_stall_holds_bytes_back_and_lets_them_go(self):
        self.play(rule("stall", after_bytes=4, seconds=20, direction="up"))
        client, service = await self.connect()
        await client.send(b"beforeafter")
        self.assertEqual(await service.receive(4), b"befo")
        await self.clock.asked(20)
        connection, = self.proxy.connections
        self.assertEqual(connection.held_bytes["up"], 7)
        self.clock.go_to(20)
        self.assertEqual(await service.receive(7), b"reafter")
        self.assertEqual([(event["did"], event["at"]) for event in self.journal.events],
                         [("opened", 0), ("stall", 0), ("resume", 20)])

    async def test_a_stall_comes_again(self):
        self.play(rule("stall", after_bytes=4, seconds=20, repeat=True))
        client, service = await self.connect()
        await client.send(bytes(12))
        async with self.running_clock():
            await service.receive(12)
        self.assertEqual([(event["at"], event["byte"]) for event in self.journal.of("stall")], [(0, 4), (20, 8)])

    async def test_a_stall_in_time_comes_again(self):
        self.play(rule("stall", after_seconds=100, seconds=20, repeat=True))
        await self.connect()
        for begin in (100, 220, 340):
            await self.clock.asked(begin)
            self.clock.go_to(begin)
            await self.clock.asked(begin + 20)
            self.clock.go_to(begin + 20)
        await self.until_done("resume", 3)
        self.assertEqual([event["at"] for event in self.journal.of("stall")], [100, 220, 340])

    async def test_a_stall_for_ever_ends_with_both_sides(self):
        self.play(rule("stall"))
        client, service = await self.connect()
        await client.send(b"never")
        client.end()
        await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [5])
        self.assertEqual(self.journal.of("closed"), [])
        await service.close()
        await self.until_done("closed")


class RefusalTest(LinkCase):
    async def test_clients_are_refused_for_a_time_and_then_welcome_on_the_same_port(self):
        self.play(rule("refuse", nth=1, after_bytes=1, seconds=15))
        client, service = await self.connect()
        await client.send(b"xy")
        await self.clock.asked(15)
        with self.assertRaises(ConnectionRefusedError):
            await self.knock()
        self.assertEqual(await service.receive(2), b"xy")  # what is open is not concerned
        self.clock.go_to(15)
        await self.until_welcome()

    async def test_the_longest_refusal_counts(self):
        self.play(rule("refuse", nth=1, seconds=15) + rule("refuse", nth=1, seconds=40, after_seconds=5))
        await self.connect()
        await self.clock.asked(5)
        self.clock.go_to(5)
        await self.clock.asked(45)
        self.clock.go_to(15)
        await asyncio.sleep(0)
        with self.assertRaises(ConnectionRefusedError):
            await self.knock()
        self.clock.go_to(45)
        await self.until_welcome()

    async def until_welcome(self):
        await asyncio.sleep(0)  # whoever slept is awake now
        client, service = await self.connect()
        await client.send(b"again")
        self.assertEqual(await service.receive(5), b"again")


class CorruptionTest(LinkCase):
    async def test_one_bit_of_one_byte_is_flipped(self):
        self.play(rule("corrupt", direction="down", after_bytes=20_000, bit=6))
        client, service = await self.connect()
        await service.send(b"a" * 30_000)
        await client.send(b"a" * 30_000)
        expected = bytearray(b"a" * 30_000)
        expected[20_000] ^= 0x40
        self.assertEqual(await client.receive(30_000), expected)
        self.assertEqual(await service.receive(30_000), b"a" * 30_000)
        self.assertEqual(self.journal.of("corrupt")[0]["byte"], 20_000)

    async def test_all_at_once(self):
        """Late, slow, with a wrong byte, stalled, and cut in the end."""
        self.play(rule("delay", seconds=1) + rule("bandwidth", bytes_per_second=100)
                  + rule("corrupt", after_bytes=10, bit=0) + rule("stall", after_bytes=20, seconds=10)
                  + rule("cut", after_bytes=30))
        client, service = await self.connect()
        await client.send(bytes(40))
        async with self.running_clock():
            self.assertEqual(await service.rest(), bytes(10) + b"\x01" + bytes(19))
        self.assertEqual([(event["did"], event.get("byte")) for event in self.journal.events][1:5],
                         [("corrupt", 10), ("stall", 20), ("resume", None), ("cut", 30)])
        self.assertGreaterEqual(self.journal.of("cut")[0]["at"], 11.2)


class OutageTest(LinkCase):
    async def test_what_is_open_stalls_and_what_is_new_is_refused(self):
        self.play("[[outage]]\nstart_seconds = 30\nlast_seconds = 10\npause_seconds = 60\n")
        client, service = await self.connect()
        for begin in (30, 100):
            await self.clock.asked(begin)
            self.clock.go_to(begin)
            await self.until_done("stall", 1 if begin == 30 else 2)
            with self.assertRaises(ConnectionRefusedError):
                await self.knock()
            await client.send(b"x")
            await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [1])
            self.clock.go_to(begin + 10)
            self.assertEqual(await service.receive(1), b"x")
            await self.until_done("resume", 1 if begin == 30 else 2)
        await self.connect()

    async def test_new_connections_can_stall_instead(self):
        self.play("[[outage]]\nlast_seconds = 10\nnew = 'stall'\n")
        await self.clock.asked(10)
        client, service = await self.connect()
        await client.send(b"x")
        await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [1])
        self.clock.go_to(10)
        self.assertEqual(await service.receive(1), b"x")

    async def test_open_connections_can_die(self):
        for what in ("reset", "cut", "half-open", "leave"):
            with self.subTest(what):
                self.clock.go_to(0)
                self.play(f"[[outage]]\nstart_seconds = 5\nlast_seconds = 10\nopen = '{what}'\n")
                client, service = await self.connect()
                await self.until(lambda: len(self.proxy.connections) == 1)
                await self.clock.asked(5)
                self.clock.go_to(5)
                await self.clock.asked(15)
                if what == "reset":
                    await client.reset()
                    await service.reset()
                elif what == "cut":
                    self.assertEqual((await client.rest(), await service.rest()), (b"", b""))
                else:
                    await client.send(bytes(MUCH) if what == "half-open" else b"x")
                    if what == "leave":
                        self.assertEqual(await service.receive(1), b"x")
                    await self.proxy.close()
                    await service.reset()
                await self.proxy.close()


if __name__ == "__main__":
    unittest.main()
