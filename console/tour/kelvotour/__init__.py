"""Plays an operator's day with real processes: the service, the headless console, the office's kelvoctl."""
