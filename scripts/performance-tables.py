"""The tables of docs/performance.md, from the benchmarks' JSON: performance-tables.py DIRECTORY"""

import json
import pathlib
import sys


def rows(directory, name):
    """The benchmarks of one run, by name without the trailing settings."""
    result = json.loads((directory / name).read_text())
    return {one["name"].split("/iterations")[0]: one for one in result["benchmarks"]}


def pair(one, unit=1):
    return "%.0f | %.0f | %.2f (%.2f to %.2f)" % (
        one["lib_ns"] / unit, one["floor_ns"] / unit, one["ratio"], one["ratio_q1"],
        one["ratio_q3"])


def table(title, *heads):
    print("\n## %s\n" % title)
    print("| " + " | ".join(heads) + " |")
    print("|" + "---|" * len(heads))


def main(directory):
    directory = pathlib.Path(directory)
    pairs = ("library, ns", "floor, ns", "ratio (quartiles)")

    allocations = max(one["allocs/event"] for devices in (1, 10, 50)
                      for one in rows(directory, "events-%d.json" % devices).values()
                      if "allocs/event" in one)
    print("\nAllocations per event, at most: %.3f" % allocations)

    table("An event", "what", "devices polled", *pairs)
    for devices in (1, 10, 50):
        events = rows(directory, "events-%d.json" % devices)
        polled = max(devices, 2) + 2
        for name, one in events.items():
            kind, _, size = name.partition("/")
            if kind == "drain" and (devices == 10 or size == "64"):
                print("| drained, batch of %s | %d | %s |" % (size, polled, pair(one)))
            elif kind == "oneByOne":
                print("| one by one | %d | %s |" % (polled, pair(one)))
            elif kind == "wakeUp" and (devices == 10 or size == "200"):
                what = "woken after %s ms" % (int(size) / 1000)
                print("| %s, p50 | %d | %s |" % (what, polled, pair(one)))
                print("| %s, p99 | %d | %.0f | %.0f | %.2f |" % (
                    what, polled, one["lib_p99"], one["floor_p99"],
                    one["lib_p99"] / one["floor_p99"]))

    table("The kernel's share: one poll that finds one device readable", "devices", "ns")
    events = rows(directory, "events-10.json")
    for name, one in events.items():
        if name.startswith("pollAlone"):
            print("| %s | %.0f |" % (name.split("/")[1], one["cpu_time"]))

    table("When batching pays", "records in a burst", "one by one, ns a record",
          "batching, ns a record")
    for count in (1, 2, 4, 8, 16, 64):
        print("| %d | %.0f | %.0f |" % (
            count, events["burst/records:%d/batching:0" % count]["lib_ns"],
            events["burst/records:%d/batching:1" % count]["lib_ns"]))

    direct = rows(directory, "direct_channel.json")
    table("Direct channels, per event", "channels", *pairs)
    for name, one in direct.items():
        if name.startswith("postToChannels/") and not name.endswith("/0"):
            print("| %s | %s |" % (name.split("/")[1], pair(one)))
    print("\nOf it, once for an event: the conversion %.1f ns, the try-lock %.1f ns." % (
        direct["conversion"]["cpu_time"], direct["tryLock"]["cpu_time"]))

    table("Start-up", "sensors", "IIO devices", "library, ms", "floor, ms", "ratio")
    for name, one in rows(directory, "start_up.json").items():
        sensors, devices = (part.split(":")[1] for part in name.split("/")[1:3])
        print("| %s | %s | %.2f | %.2f | %.2f |" % (
            sensors, devices, one["real_time"], one["floor_ms"], one["ratio"]))
    print()


main(sys.argv[1])
