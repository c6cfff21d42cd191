"""A TCP proxy that plays a bad rural cellular link.

scenario: what a file asks for     deeds: what that means for one connection
line, pace: bytes on their way     channel: one direction     connection: both
proxy: all connections             outages: the whole link    door: where clients knock
clock, journal: seams to the time and to the log
"""
