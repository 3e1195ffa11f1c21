"""Waiting for conditions: no test sleeps for a fixed time instead."""

import time

# Generous: the machine may be loaded and the programs built with a sanitizer. A test that passes
# never waits this long.
PATIENCE = 60.0
_STEP = 0.005


def wait_for(condition, what, patience=PATIENCE):
    """The first true value that `condition()` gives; fails, naming `what`, when none comes in time."""
    deadline = time.monotonic() + patience
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"still waiting for {what} after {patience:g} s")
        time.sleep(_STEP)
