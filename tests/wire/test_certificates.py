"""The listener's certificate: read again when it changes, renewed without cutting a stream, refused out of its time."""

import os
import signal
import socket
import ssl
import subprocess
import time
import unittest

from kelvowire.events import EventStream
from kelvowire.farm import add_farms_and_users, log_in, make_inbox
from kelvowire.http import metrics
from kelvowire.service import BINARY, GUARD_SECONDS, ShiftedService, confirm_clock, run_refused
from needs import wrong_clock

DAY_S = 24 * 3600


def tls_command(*arguments, prefix=()):
    """(exit code, stdout)"""
    result = subprocess.run([*prefix, BINARY, "tls", *arguments], capture_output=True, text=True, timeout=GUARD_SECONDS,
                            check=False)
    return result.returncode, result.stdout


class Certificates(unittest.TestCase):
    def setUp(self):
        self.service = ShiftedService()
        self.addCleanup(self.service.remove)

    def given(self, name, start="20200101000000Z", end="20990101000000Z"):
        """Makes a self-signed certificate; returns its options."""
        key, request, certificate = (os.path.join(self.service.root, name + suffix) for suffix in (".key", ".csr", ".pem"))

        def openssl(*arguments):
            subprocess.run(["openssl", *arguments], check=True, capture_output=True, cwd=self.service.root)
        if not os.path.exists(os.path.join(self.service.root, "ca.conf")):
            with open(os.path.join(self.service.root, "ca.conf"), "w", encoding="utf-8") as file:
                file.write("[ca]\ndefault_ca=x\n[x]\ndatabase=index\nserial=serial\nnew_certs_dir=.\ndefault_md=sha256\n"
                           "policy=p\nunique_subject=no\ncopy_extensions=copy\n[p]\ncommonName=supplied\n")
            with open(os.path.join(self.service.root, "index"), "w", encoding="utf-8"):
                pass
        openssl("req", "-new", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", key, "-out", request,
                "-subj", "/CN=" + name, "-addext", "subjectAltName=DNS:localhost")
        openssl("ca", "-batch", "-config", "ca.conf", "-selfsign", "-keyfile", key, "-in", request, "-out", certificate,
                "-startdate", start, "-enddate", end, "-notext", "-rand_serial")
        return certificate, key

    def serial(self, ca=None):
        """The serial number of the certificate that a new connection gets."""
        context = ssl.create_default_context(cafile=ca or self.service.ca)
        with socket.create_connection(("127.0.0.1", self.service.port), timeout=GUARD_SECONDS) as plain, \
                context.wrap_socket(plain, server_hostname="localhost") as connection:
            return connection.getpeercert()["serialNumber"]

    def await_log(self, text):
        guard = time.monotonic() + GUARD_SECONDS
        while text not in self.service.log():
            self.assertLess(time.monotonic(), guard, f"no {text} in the log:\n{self.service.log()}")

    def end_in_metrics(self, what):
        name = f"kelvo_tls_{what}_end_seconds "
        values = [line for line in metrics(self.service)[1].splitlines() if line.startswith(name)]
        return float(values[0].removeprefix(name)) if values else None

    def test_renews_its_own_without_cutting_a_stream(self):
        self.service.start()
        add_farms_and_users(self.service).close()
        olga = log_in(self.service, "olga")
        self.addCleanup(olga.close)
        inbox = make_inbox(olga)
        before = self.serial()
        with EventStream(olga) as stream:
            code, out = tls_command("renew", "--data", self.service.folder)
            self.assertEqual(code, 0, out)
            self.assertIn("certificate: valid, from ", out)
            self.assertIn("for localhost 127.0.0.1 ::1", out)
            self.service.signal(signal.SIGHUP)
            self.await_log("certificate-loaded")
            self.assertNotEqual(self.serial(), before)
            olga.put("after.zip", [inbox], b"after")  # On the connection with the old certificate.
            stream.expect("file-added")
        days = (self.end_in_metrics("certificate") - time.time()) / DAY_S
        self.assertAlmostEqual(days, 397, delta=1)
        self.assertAlmostEqual((self.end_in_metrics("authority") - time.time()) / DAY_S, 3650, delta=1)
        self.service.stop()
        self.service.check_log()

    def test_reads_a_given_certificate_again_on_sighup(self):
        certificate, key = self.given("first")
        self.service.options = ("--cert", certificate, "--key", key)
        self.service.start()
        before = self.serial(certificate)
        for new, old in zip(self.given("second"), (certificate, key)):
            os.replace(new, old)
        self.service.signal(signal.SIGHUP)
        self.await_log("certificate-loaded")
        self.assertNotEqual(self.serial(certificate), before)
        self.assertIsNone(self.end_in_metrics("authority"))
        with open(certificate, "w", encoding="utf-8") as file:
            file.write("no certificate")
        self.service.signal(signal.SIGHUP)
        self.await_log("certificate-not-loaded")
        self.service.stop()
        self.service.check_log()

    def rounds(self):
        """The main thread starts a round of the clean-up on SIGHUP."""
        return int(metrics(self.service)[1].split("\nkelvo_cleanups_total ")[1].split()[0])

    def await_rounds(self, wanted):
        guard = time.monotonic() + GUARD_SECONDS
        while self.rounds() < wanted:
            self.assertLess(time.monotonic(), guard, "the main thread hangs")

    def test_handles_signals_while_a_disk_does_not_bring_the_certificate(self):
        certificate, key = self.given("slow")
        self.service.options = ("--cert", certificate, "--key", key)
        self.service.start()
        self.await_rounds(1)
        os.remove(certificate)
        os.mkfifo(certificate)
        self.service.signal(signal.SIGHUP)
        with open(certificate, "w", encoding="utf-8"):  # The service reads from the pipe now.
            self.await_rounds(2)
            self.service.signal(signal.SIGHUP)
            self.await_rounds(3)
        self.await_log("certificate-not-loaded")
        self.service.stop()

    def test_refuses_a_certificate_out_of_its_time(self):
        for start, end, word in (("20200101000000Z", "20210101000000Z", "ended at 2021-01-01T00:00:00"),
                                 ("20980101000000Z", "20990101000000Z", "is valid only from 2098-01-01T00:00:00")):
            certificate, key = self.given(start, start, end)
            code, _, err = run_refused(self.service.folder, "--cert", certificate, "--key", key)
            self.assertEqual(code, 2)
            self.assertIn(word, err.splitlines()[-1])
            code, out = tls_command("status", "--data", self.service.folder, "--cert", certificate)
            self.assertEqual(code, 1)
            self.assertIn("not valid now", out)

    def test_the_certificate_has_each_name_once(self):
        self.service.options += ("--name", "farm.example", "--name", "::1", "--name", "farm.example")
        self.service.start()
        self.service.stop()
        names = tls_command("status", "--data", self.service.folder)[1].splitlines()[0].split(", for ")[1].split()
        self.assertEqual(sorted(names), ["127.0.0.1", "::1", "farm.example", "localhost"])

    def start_after(self, days):
        """The service was off for so long. Negative: its clock was ahead."""
        self.service.prefix = wrong_clock(self, -days * DAY_S)
        self.service.start()
        self.service.stop()
        self.service.prefix = ()

    def check_ready(self):
        """A client with a right clock accepts the certificate, and the service says so."""
        self.serial()
        self.assertEqual(metrics(self.service, "/readyz"), (200, "ready"))

    def test_the_own_certificate_of_a_first_start_with_the_clock_ahead_is_replaced_at_once(self):
        self.start_after(-40)
        authority = self.service.text("ca.pem")
        for _ in range(2):
            self.service.start()
            self.check_ready()
            self.assertEqual(self.service.text("ca.pem"), authority)
            self.service.stop()

    def test_the_own_certificate_is_valid_by_both_clocks_while_the_machine_is_two_years_behind(self):
        self.start_after(0)
        behind = self.service.prefix = wrong_clock(self, -2 * 365 * DAY_S)
        self.service.start()
        self.check_ready()
        client = [*behind, "openssl", "verify", "-CAfile", self.service.ca, self.service.path("tls", "server.pem")]
        self.assertIn(": OK", subprocess.run(client, capture_output=True, text=True, check=True).stdout)
        self.service.stop()

    def test_an_authority_that_is_not_yet_valid_is_replaced_by_a_command(self):
        self.start_after(-11 * 365)
        authority = self.service.text("ca.pem")
        for _ in range(2):
            self.service.start()
            status, reason = metrics(self.service, "/readyz")
            self.assertEqual(status, 503)
            self.assertIn("certificate: the authority in ca.pem is valid only from ", reason)
            self.assertIn("run kelvo-service tls renew --authority", reason)
            self.await_log("certificate-not-yet-valid")
            self.assertEqual(tls_command("renew", "--data", self.service.folder), (2, ""))
            self.assertEqual(self.service.text("ca.pem"), authority)
            self.service.stop()
        self.service.start()
        self.assertEqual(tls_command("renew", "--authority", "--data", self.service.folder)[0], 0)
        self.service.signal(signal.SIGHUP)
        self.await_log("certificate-loaded")
        self.check_ready()
        self.service.stop()
        self.service.check_log()

    def test_tells_that_a_given_certificate_is_not_yet_valid(self):
        self.start_after(-40)
        start = time.strftime("%Y%m%d%H%M%SZ", time.gmtime(time.time() + DAY_S))
        certificate, key = self.given("tomorrow", start)
        self.service.options = ("--cert", certificate, "--key", key)
        self.service.start()
        status, reason = metrics(self.service, "/readyz")
        self.assertEqual(status, 503)
        self.assertIn("certificate: is valid only from ", reason)
        self.await_log("certificate-not-yet-valid")
        self.service.stop()
        self.service.check_log()

    def test_a_certificate_that_was_issued_while_the_service_was_off_is_used_at_once(self):
        self.start_after(10)
        start = time.strftime("%Y%m%d%H%M%SZ", time.gmtime(time.time() - 60))
        certificate, key = self.given("new", start)
        self.service.options = ("--cert", certificate, "--key", key)
        self.service.start()
        self.serial(certificate)
        self.assertEqual(metrics(self.service, "/readyz")[0], 200)
        self.service.stop()

    def test_the_own_certificate_that_has_ended_while_the_service_was_off_is_renewed_at_once(self):
        self.start_after(420)
        authority = self.service.text("ca.pem")
        self.service.start()
        self.serial()
        self.assertEqual(metrics(self.service, "/readyz")[0], 200)
        self.assertEqual(self.service.text("ca.pem"), authority)
        self.service.stop()

    def test_an_authority_that_has_ended_while_the_service_was_off_is_replaced_when_the_clock_is_confirmed(self):
        self.start_after(11 * 365)
        authority = self.service.text("ca.pem")
        self.service.start()
        status, reason = metrics(self.service, "/readyz")[:2]
        self.assertEqual(status, 503)
        self.assertIn("certificate: has ended; if the machine's clock is right, run kelvo-service clock confirm", reason)
        self.assertIn("authority-has-ended", self.service.log())
        self.assertEqual(tls_command("renew", "--data", self.service.folder), (2, ""))
        self.assertEqual(self.service.text("ca.pem"), authority)
        confirm_clock(self.service)
        self.service.stop()
        self.service.start()
        self.serial()
        self.assertEqual(metrics(self.service, "/readyz")[0], 200)
        self.service.stop()

    def test_clients_of_the_old_authority_go_on_after_it_was_renewed(self):
        self.service.start()
        self.service.stop()
        old = os.path.join(self.service.root, "old.pem")
        os.link(self.service.ca, old)
        # After seven years, `renew` makes the second authority.
        ahead = wrong_clock(self, 7 * 365 * DAY_S)
        tls_command("renew", "--data", self.service.folder, prefix=ahead)
        code, out = tls_command("status", "--data", self.service.folder, prefix=ahead)
        self.assertEqual((code, out.count("authority: valid")), (0, 2), out)
        client = [*ahead, "openssl", "verify", "-CAfile", old, self.service.path("tls", "server.pem")]
        self.assertIn(": OK", subprocess.run(client, capture_output=True, text=True, check=True).stdout)


if __name__ == "__main__":
    unittest.main()
