"""Waiting for a condition instead of for a time."""

import time

LIMIT_SECONDS = 60.0  # whatever takes longer hangs
_STEP_SECONDS = 0.02


def until(what, condition, limit=LIMIT_SECONDS):
    """Returns the first true value of condition(). AssertionError naming what was awaited once the limit is over."""
    end = time.monotonic() + limit
    while True:
        began = time.monotonic()
        value = condition()
        if value:
            return value
        now = time.monotonic()
        if now > end:
            raise AssertionError(f"waited {limit:g} s in vain for {what}")
        # A look that takes long leaves the processors to others for as long.
        time.sleep(max(_STEP_SECONDS, now - began))
