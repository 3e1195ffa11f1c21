"""Fewer steps with the same failure: delta debugging, as far as the time reaches."""

import time


def shrunk(items, fails, deadline=float("inf"), clock=time.monotonic):
    """A list of some of the items, in their order, for which `fails` holds, as for all of them; when there is time
    until the deadline, no single item of it can be left out."""
    if clock() < deadline and items and fails([]):
        return []
    parts = 2
    while len(items) > 1 and clock() < deadline:
        size = -(-len(items) // parts)
        for begin in range(0, len(items), size):
            if clock() >= deadline:
                break
            rest = items[:begin] + items[begin + size:]
            if fails(rest):
                items, parts = rest, max(parts - 1, 2)
                break
        else:
            if size == 1:
                break
            parts = min(2 * parts, len(items))
    return items
