#!/usr/bin/env python3
"""What subhalctl finds in a faulty library: faults_test.py PROGRAM LIBRARY FAULTY_LIBRARY

A row is a fault and the rule of check that has to find it, and no other. Rows that begin with
"keeps-" are of a library that keeps a rule which the real one is known to break, and "noted-" of one
that keeps it with a note."""

import concurrent.futures
import functools
import json
import os
import re
import subprocess
import sys

PROGRAM, LIBRARY, FAULTY = sys.argv[1:4]
# The sanitizers' dlopen() does not look at the run path of the library that calls it.
ENVIRONMENT = {**os.environ, "LD_LIBRARY_PATH": os.path.dirname(LIBRARY)}
KNOWN = {"operation-mode", "longest-period", "flush", "flush-when-off", "direct-rate", "direct-stop",
         "injection-mode", "initialize-sensors"}
SAID = [("direct-skips", 1, " 1 missed"), ("direct-zeroed", 1, "stalled at record 9 of "),
        ("direct-missing", 1, " [1-9] lost"), ("direct-old", 0, r"age p50 (99|10)[0-9]+\."),
        ("silent", 1, "FAIL .*, driver: the library posted no event", "doctor 38")]
HUB = sys.argv[4:] or ["--sim", "--still"]
FAULTS = """
listed-type       1      identity            listed-fifo      1     identity
listed-wakeup     22     identity            latency-once     1     batching
listed-power      1      listing             listed-twice     1     names-distinct
unknown-handle    1      unknown-handles     refuses-on       1     activate
on-unsent         1      hub-switch          off-unsent       1     hub-switch
silent            1      first-event         talks-when-off   1     silent-when-off
flush-twice       1      flush               flush-none       1     flush
flush-other       1+4    flush               flush-one-shot   17    flush
flush-at-once     1      flush-order         flush-code       1     event-kind
wrong-type        1      event-kind          wrong-handle     1     handles
batch-ignored     1      rate                rate-1.5         1     rate
no-clamp          1      shortest-period     latency-ignored  1     batching
latency-1.3       1      batching            drops-1%         1     lost
duplicates        1      timestamps          noted-rate       1     rate
stamp-arrival     1      timestamps          stamp-constant   1     timestamps
stamp-late        1      timestamps          stamp-clock      1     timestamps
stamp-other-clock 1      timestamps          stamp-back       1     timestamps
nan               1      values              range            1     values
wakelock-never    8      wakelock            wakelock-always  1     wakelock
repeats           5      on-change           one-shot-stays   17    one-shot
direct-skips      38     direct-records      direct-repeats   38    direct-records
direct-zeroed     38     direct-records      direct-missing   38    direct-records
direct-old        38     direct-stamps       direct-token     38    direct-token
direct-rate       38     direct-rate         direct-memory    38    direct-memory
direct-accepted   1      direct-refused      initialize-again 1     initialize-again
keeps-mode        1      operation-mode      keeps-longest    1     longest-period
keeps-flush       1      flush-when-off      keeps-injection  1     injection-mode
keeps-stop        38     direct-stop         keeps-initialize 1     initialize-sensors
""".split()


def check(fault, sensors, *hub):
    """What ended how, and all that was printed."""
    done = subprocess.run(
        [PROGRAM, *(hub or HUB), "--library", FAULTY if fault else LIBRARY, "check", "--seconds", "0.3",
         "--format", "json", *sensors.split("+")], capture_output=True, text=True, timeout=90,
        env={**ENVIRONMENT, "SUBHAL_FAULT": fault})
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    return done.returncode, lines[:-1], done.stdout + done.stderr  # without the summary


def row(fault, sensors, rule):
    code, lines, output = check(fault, sensors)
    found = {(line["verdict"], line["rule"]) for line in lines}
    failed = {name for verdict, name in found if verdict == "FAIL"}
    wanted = (1, {rule}) if rule in failed else (0, set())
    if fault.startswith("keeps-"):
        seen = ("PASS", rule) in found and ("KNOWN", rule) not in found
    elif fault.startswith("noted-"):
        seen = any(line["rule"] == rule and "note:" in line["figures"] for line in lines)
    else:
        seen = rule in failed
    return "" if seen and (code, failed) == wanted else "%s: exit code %d, %s\n%s" % (
        fault, code, failed, output)


def told(fault, code, says, verb="direct 38 --rate fast --check"):
    """The verb says what is wrong."""
    done = subprocess.run(
        [PROGRAM, *HUB, "--quiet", "--library", FAULTY, *verb.split(), "--seconds", "0.3"],
        capture_output=True, text=True, timeout=90, env={**ENVIRONMENT, "SUBHAL_FAULT": fault})
    if done.returncode == code and re.search(says, done.stdout):
        return ""
    return "%s: %s: exit code %d\n%s" % (fault, verb, done.returncode, done.stdout + done.stderr)


def sound(rules, *hub):
    """The real library keeps all rules, or breaks them as it is known to. Each of them has a row."""
    code, lines, output = check("", "1+4+5+8+17+38+49", *hub)
    known = {line["rule"] for line in lines if line["verdict"] == "KNOWN"}
    fine = code == 0 and known == KNOWN and {line["rule"] for line in lines} == rules
    return "" if fine else "exit code %d, %s, of %s\n%s" % (code, known, rules, output)


def main():
    rows = list(zip(FAULTS[::3], FAULTS[1::3], FAULTS[2::3]))
    rules = {rule for _, _, rule in rows}
    runs = [functools.partial(row, *one) for one in rows]
    runs += [functools.partial(sound, rules, *hub) for hub in (HUB, HUB[:1])]
    runs += [functools.partial(told, *one) for one in SAID]
    with concurrent.futures.ThreadPoolExecutor(max_workers=16) as pool:
        faults = list(pool.map(lambda run: run(), runs))
    # So many at once may starve each other: that load is this test's own, so what failed runs alone.
    faults = [fault and run() for fault, run in zip(faults, runs)]
    print("\n".join(fault for fault in faults if fault))
    print("%d of %d rows failed" % (sum(map(bool, faults)), len(faults)))
    return any(faults)


sys.exit(main())
