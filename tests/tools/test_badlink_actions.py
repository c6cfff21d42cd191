"""Each action of a rule, as the client and the service see it."""

import asyncio
import unittest

from kelvotools.case import MUCH, LinkCase, rule


class EndTest(LinkCase):
    async def test_a_cut_ends_both_sides_normally_at_its_byte(self):
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
                self.assertEqual(await taker.read_to_end(), b"")
                self.assertEqual(await sender.read_to_end(), b"")
                self.assertEqual(self.journal.of("cut")[0]["byte"], 30_000)
                await self.proxy.close()

    async def test_a_cut_connection_is_read_for_two_seconds_and_closed(self):
        self.play(rule("cut"))
        client, _ = await self.connect()
        self.assertEqual(await client.read_to_end(), b"")
        await self.clock.until_waited_for(2)
        self.assertEqual(self.journal.of("closed"), [])
        self.clock.advance_to(2)
        self.assertEqual((await self.until_logged("closed"))["how"], "cut")

    async def test_a_truncated_direction_ends_and_drops_later_bytes(self):
        self.play(rule("truncate", direction="up", after_bytes=1000))
        client, service = await self.connect()
        await client.send(bytes(MUCH))
        self.assertEqual(await service.read_to_end(), bytes(1000))
        await service.send(b"too short")
        service.end()
        self.assertEqual(await client.read_to_end(), b"too short")
        self.assertEqual(self.journal.of("closed"), [])  # the client may still send
        client.end()
        self.assertEqual((await self.until_logged("closed"))["how"], "done")

    async def test_a_reset_resets_both_sides(self):
        self.play(rule("reset", direction="up", after_bytes=3))
        client, service = await self.connect()
        await client.send(b"abc")
        self.assertEqual(await service.receive(3), b"abc")
        await client.send(b"d")
        await client.reset()
        await service.reset()

    async def test_a_reset_comes_after_its_seconds(self):
        self.play(rule("reset", after_seconds=30))
        client, service = await self.connect()
        await self.clock.until_waited_for(30)
        self.assertEqual(self.journal.of("reset"), [])
        self.clock.advance_to(30)
        await client.reset()
        await service.reset()

    async def test_a_half_open_connection_drops_all_bytes_and_passes_no_end(self):
        self.play(rule("half-open", after_bytes=3))
        client, service = await self.connect()
        await client.send(b"abc")
        self.assertEqual(await service.receive(3), b"abc")
        await client.send(bytes(MUCH))
        await service.send(bytes(MUCH))
        connection, = self.proxy.connections
        self.assertEqual(connection.held_bytes, {"up": 0, "down": 0})
        client.end()  # the service must not get this end
        self.assertEqual(len(self.journal.of("half-open")), 1)
        self.assertEqual(self.journal.of("closed"), [])
        await self.proxy.close()
        await service.reset()  # the first signal that the service gets

    async def test_a_half_open_connection_closes_when_both_sides_have_closed(self):
        self.play(rule("half-open"))
        client, service = await self.connect()
        await client.close()
        await service.close()
        await self.until_logged("closed")

    async def test_a_half_open_connection_with_seconds_is_reset(self):
        self.play(rule("half-open", seconds=60))
        client, service = await self.connect()
        await self.clock.until_waited_for(60)
        self.clock.advance_to(60)
        await client.reset()
        await service.reset()

    async def test_one_direction_can_be_half_open(self):
        self.play(rule("half-open", direction="down"))
        client, service = await self.connect()
        await client.send(b"question")
        self.assertEqual(await service.receive(8), b"question")
        await service.send(bytes(MUCH))
        await self.proxy.close()
        await client.reset()


class StallTest(LinkCase):
    async def test_a_stall_holds_bytes_back_and_passes_them_later(self):
        self.play(rule("stall", after_bytes=4, seconds=20, direction="up"))
        client, service = await self.connect()
        await client.send(b"beforeafter")
        self.assertEqual(await service.receive(4), b"befo")
        await self.clock.until_waited_for(20)
        connection, = self.proxy.connections
        self.assertEqual(connection.held_bytes["up"], 7)
        self.clock.advance_to(20)
        self.assertEqual(await service.receive(7), b"reafter")
        self.assertEqual([(event["did"], event["at"]) for event in self.journal.events],
                         [("opened", 0), ("stall", 0), ("resume", 20)])

    async def test_a_stall_repeats_after_its_bytes(self):
        self.play(rule("stall", after_bytes=4, seconds=20, repeat=True))
        client, service = await self.connect()
        await client.send(bytes(12))
        async with self.running_clock():
            await service.receive(12)
        self.assertEqual([(event["at"], event["byte"]) for event in self.journal.of("stall")], [(0, 4), (20, 8)])

    async def test_a_stall_repeats_after_its_seconds(self):
        self.play(rule("stall", after_seconds=100, seconds=20, repeat=True))
        await self.connect()
        for begin in (100, 220, 340):
            await self.clock.until_waited_for(begin)
            self.clock.advance_to(begin)
            await self.clock.until_waited_for(begin + 20)
            self.clock.advance_to(begin + 20)
        await self.until_logged("resume", 3)
        self.assertEqual([event["at"] for event in self.journal.of("stall")], [100, 220, 340])

    async def test_a_connection_that_stalls_for_ever_ends_with_both_sides(self):
        self.play(rule("stall"))
        client, service = await self.connect()
        await client.send(b"never")
        client.end()
        await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [5])
        self.assertEqual(self.journal.of("closed"), [])
        await service.close()
        await self.until_logged("closed")


class RefusalTest(LinkCase):
    async def test_clients_are_refused_for_a_time_and_then_accepted_on_the_same_port(self):
        self.play(rule("refuse", nth=1, after_bytes=1, seconds=15))
        client, service = await self.connect()
        await client.send(b"xy")
        await self.clock.until_waited_for(15)
        with self.assertRaises(ConnectionRefusedError):
            await self.connect_client()
        self.assertEqual(await service.receive(2), b"xy")  # open connections continue
        self.clock.advance_to(15)
        await self.expect_connection()

    async def test_the_longest_refusal_counts(self):
        self.play(rule("refuse", nth=1, seconds=15) + rule("refuse", nth=1, seconds=40, after_seconds=5))
        await self.connect()
        await self.clock.until_waited_for(5)
        self.clock.advance_to(5)
        await self.clock.until_waited_for(45)
        self.clock.advance_to(15)
        await asyncio.sleep(0)
        with self.assertRaises(ConnectionRefusedError):
            await self.connect_client()
        self.clock.advance_to(45)
        await self.expect_connection()

    async def expect_connection(self):
        await asyncio.sleep(0)  # lets the tasks run that slept
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

    async def test_all_actions_together(self):
        """A delayed, slow connection gets a wrong byte, stalls, and is cut."""
        self.play(rule("delay", seconds=1) + rule("bandwidth", bytes_per_second=100)
                  + rule("corrupt", after_bytes=10, bit=0) + rule("stall", after_bytes=20, seconds=10)
                  + rule("cut", after_bytes=30))
        client, service = await self.connect()
        await client.send(bytes(40))
        async with self.running_clock():
            self.assertEqual(await service.read_to_end(), bytes(10) + b"\x01" + bytes(19))
        self.assertEqual([(event["did"], event.get("byte")) for event in self.journal.events][1:5],
                         [("corrupt", 10), ("stall", 20), ("resume", None), ("cut", 30)])
        self.assertGreaterEqual(self.journal.of("cut")[0]["at"], 11.2)


class OutageTest(LinkCase):
    async def test_open_connections_stall_and_new_ones_are_refused(self):
        self.play("[[outage]]\nstart_seconds = 30\nlast_seconds = 10\npause_seconds = 60\n")
        client, service = await self.connect()
        for begin in (30, 100):
            await self.clock.until_waited_for(begin)
            self.clock.advance_to(begin)
            await self.until_logged("stall", 1 if begin == 30 else 2)
            with self.assertRaises(ConnectionRefusedError):
                await self.connect_client()
            await client.send(b"x")
            await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [1])
            self.clock.advance_to(begin + 10)
            self.assertEqual(await service.receive(1), b"x")
            await self.until_logged("resume", 1 if begin == 30 else 2)
        await self.connect()

    async def test_new_connections_can_stall_instead(self):
        self.play("[[outage]]\nlast_seconds = 10\nnew = 'stall'\n")
        await self.clock.until_waited_for(10)
        client, service = await self.connect()
        await client.send(b"x")
        await self.until(lambda: [each.held_bytes["up"] for each in self.proxy.connections] == [1])
        self.clock.advance_to(10)
        self.assertEqual(await service.receive(1), b"x")

    async def test_open_connections_can_be_reset_cut_half_open_or_left(self):
        for what in ("reset", "cut", "half-open", "leave"):
            with self.subTest(what):
                self.clock.advance_to(0)
                self.play(f"[[outage]]\nstart_seconds = 5\nlast_seconds = 10\nopen = '{what}'\n")
                client, service = await self.connect()
                await self.until(lambda: len(self.proxy.connections) == 1)
                await self.clock.until_waited_for(5)
                self.clock.advance_to(5)
                await self.clock.until_waited_for(15)
                if what == "reset":
                    await client.reset()
                    await service.reset()
                elif what == "cut":
                    self.assertEqual((await client.read_to_end(), await service.read_to_end()), (b"", b""))
                else:
                    await client.send(bytes(MUCH) if what == "half-open" else b"x")
                    if what == "leave":
                        self.assertEqual(await service.receive(1), b"x")
                    await self.proxy.close()
                    await service.reset()
                await self.proxy.close()


if __name__ == "__main__":
    unittest.main()
