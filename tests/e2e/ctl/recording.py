# SPDX-License-Identifier: Apache-2.0
"""What the test of recordings does with JSON.

recording.py fill-in SCENARIO             replaces the placeholders of a recorded setup, and removes the times
recording.py compare LIVE PLAYED          fails if two journals differ in their calls or the answers to them
"""

import json
import re
import sys

# What tests/e2e/ctl plays for the phone, in the order of the events.
VALUES = {
    "pin": ["20260417", "20260417", "8080"],
    "pwd": ["laundry bay", "laundry day", "laundry day"],
    "ap_pwd": ["laundry bay", "laundry day", "laundry day"],
    "rmd": ["phone"],
    "account": ["user@example.org"],
}


def fill_in(path):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    left = {name: list(values) for name, values in VALUES.items()}
    text = re.sub(r"FILL IN: (\w+)", lambda found: left[found[1]].pop(0) if left.get(found[1]) else "{}", text)
    text = re.sub(r'"timestamp":\d+,', "", text)
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def without_times(value):
    """Sequence numbers count in a process, and times differ in each run."""
    if isinstance(value, dict):
        return {name: without_times(one) for name, one in value.items() if name not in ("seq_id", "timestamp")}
    return [without_times(one) for one in value] if isinstance(value, list) else value


def calls_in(path):
    calls = []
    with open(path, encoding="utf-8") as file:
        for line in file:
            entry = json.loads(line)
            if entry.get("method") == "stop":  # the washer's reaction to SIGTERM
                break
            if "method" in entry:
                calls.append((entry["method"], without_times(entry["arguments"]), entry["answer"]))
    return calls


def compare(live, played):
    calls, again = calls_in(live), calls_in(played)
    if len(calls) < 10:
        sys.exit(f"{live} has only {len(calls)} calls")
    for before, after in zip(calls, again):
        if before != after:
            sys.exit(f"recorded: {before}\n  played: {after}")
    if len(calls) != len(again):
        sys.exit(f"{len(calls)} calls were recorded, {len(again)} were made")


if __name__ == "__main__":
    {"fill-in": fill_in, "compare": compare}[sys.argv[1]](*sys.argv[2:])
