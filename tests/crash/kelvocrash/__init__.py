"""Processes that are killed at any moment, and what must hold afterwards."""
