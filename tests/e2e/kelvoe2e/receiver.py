"""A GPS receiver on a pseudo-terminal."""

import os
import pty
import threading

from kelvoe2e import nmea

PERIOD_SECONDS = 0.2  # between epochs


class Receiver:
    """Writes its position, or that it has no fix, until it is closed."""

    def __init__(self):
        self._master, slave = pty.openpty()
        self.device = os.ttyname(slave)
        self._slave = slave  # kept open, so that no byte is lost before the console opens it
        os.set_blocking(self._master, False)  # a receiver does not wait for its reader
        self._changed = threading.Condition()  # guards _latitude and what follows
        self._latitude = None
        self._has_moved = False
        self._has_ended = False
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def move(self, latitude):
        """Sets the latitude in whole degrees, or None for no fix. Writes it at once and every PERIOD_SECONDS."""
        with self._changed:
            self._latitude = latitude
            self._has_moved = True
            self._changed.notify_all()

    def _run(self):
        second = 0
        while True:
            with self._changed:
                self._changed.wait_for(lambda: self._has_moved or self._has_ended, PERIOD_SECONDS)
                if self._has_ended:
                    return
                self._has_moved = False
                latitude = self._latitude
            place = ",,," if latitude is None else f"{latitude:02}00.000,N,00530.000,E"
            body = f"GPGGA,1200{second % 60:02}.00,{place},{0 if latitude is None else 4},09,1.1,112.0,M,47.0,M,,"
            try:
                os.write(self._master, nmea.sentence(body).encode())
            except BlockingIOError:
                pass
            second += 1

    def close(self):
        with self._changed:
            self._has_ended = True
            self._changed.notify_all()
        self._thread.join()
        os.close(self._slave)
        os.close(self._master)
