"""A TCP proxy that simulates a bad rural cellular link.

scenario: reads a scenario file    actions: the actions of the rules on one connection
buffer: bytes on the way           pace: delay and bandwidth
channel: one direction             connection: both directions
proxy: all connections             outages: outages of the whole link
listener: accepts clients          clock, journal: time and log, replaced in tests
"""
