"""NMEA sentences of a receiver while a tractor drives along a field."""

import math
from functools import reduce

START = (52.1205, 11.6276)  # degrees north, degrees east
NORTH_PER_SECOND = 0.000027  # degrees, which are 3 m


def write_log(path, seconds):
    """Writes one fix for each second, from noon on."""
    path.write_text("".join(_fix(second) for second in range(seconds)), encoding="ascii")
    return path


def _fix(second):
    time = f"12{second // 60 % 60:02}{second % 60:02}.00"
    north, east = START[0] + second * NORTH_PER_SECOND, START[1]
    place = f"{_angle(north, 2)},N,{_angle(east, 3)},E"
    return (_sentence(f"GPGGA,{time},{place},4,14,0.7,82.0,M,45.0,M,1.0,0001")
            + _sentence(f"GPRMC,{time},A,{place},5.8,0.0,170524,,,R"))


def _angle(degrees, digits):
    whole = math.floor(degrees)
    return f"{whole:0{digits}}{(degrees - whole) * 60:010.7f}"


def _sentence(body):
    checksum = reduce(lambda sum_, character: sum_ ^ ord(character), body, 0)
    return f"${body}*{checksum:02X}\r\n"
