"""Shared by the tests of the packages."""
