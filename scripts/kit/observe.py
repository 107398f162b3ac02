"""What the library does, seen by runs of it on the simulated hub."""

import concurrent.futures
import json
import os
import re
import subprocess
import tempfile
import types

FLAGS = ("CREAT", "TRUNC", "APPEND", "NONBLOCK", "NOFOLLOW", "DIRECTORY")
CALL = re.compile(r" *\d+\.\d+ +\d+ (open|opendir|remove|ioctl|getprop|setprop) +(\S+)"
                  r"(?: (0x\w+))?.* = ")
LOG = re.compile(r" *\d+\.\d+ +\d+ ([VDIWE]) SensorsHub: (.*)")
# The requests that a proxy and the hub can make; HANDLES means all sensors.
WATCH, DUMP = "watch HANDLES --seconds 0.2", "hub dump 2 1"
DIRECT = "direct 38 --rate fast --seconds 0.1"
NO_DATA = 6  # some sensors have nothing to say, and what reads a channel may come too late
REQUESTS = (WATCH, "flush 1", DIRECT, "inject 1 5", "message --text hello", DUMP)
# What goes wrong beside an open that is refused.
TROUBLE = ((WATCH, "drop:4"), (WATCH, "read:1:ENODEV"), (WATCH, "ioctl:/dev/batch_io:EACCES"),
           (WATCH, "write:/sys/bus/iio/devices/iio:device7/buffer/enable:ENOMEM"),
           (WATCH, "write:/sys/class/sensors/hbx_sensor/enable:EIO"),
           (WATCH, "absent:/sys/bus/iio/devices"),
           (DUMP, "open:/data/vendor/sensorhub/shub_dump:EACCES"),
           ("flush 1", "write:/sys/class/sensors/hbx_sensor/hbx_flush:EINVAL"))
UNKNOWN = '[{"handle": 72}]'  # a catalogue


def flag_text(flags):
    words = [("RDONLY", "WRONLY", "RDWR")[flags & 3]]
    words += [name for name in FLAGS if flags & getattr(os, "O_" + name)]
    return "+".join(words) + ("" if flags & os.O_CLOEXEC else "+without_CLOEXEC")


def known(path):
    """The path as the table names it."""
    path = re.sub(r"iio:device\d+", "iio:device*", path)
    return re.sub(r"^(/data/vendor/sensorhub/).+", r"\1*", path)


def normal(text):
    """A log line without its values."""
    return re.sub(r"\d+", "#", text)


def observe(tool, library, session):
    """Opens, requests, properties and log lines of `library`, each open refused once as well.
    `session` is a program that shows the calls of a session: what it shows of kept files counts."""
    def run(request, *options):
        # Without a fault it has to succeed; on a busy machine nothing may come in time.
        for _ in range(1 if options else 3):
            done = subprocess.run(
                [tool, "--library", library, "--sim", "--trace", "--log", "verbose", *options,
                 *request.replace("HANDLES", handles).split()],
                capture_output=True, text=True, errors="replace", timeout=60)
            if done.returncode < 0:
                raise RuntimeError(f"{request} {options}: signal {-done.returncode}")
            if done.returncode == 0 or done.returncode == NO_DATA and request in (WATCH, DIRECT):
                return done.stderr
        if not options:
            found.failed.add(request)
        return done.stderr

    listed = subprocess.run([tool, "--library", library, "--sim", "list", "--format", "json"],
                            capture_output=True, text=True)
    sensors = json.loads(listed.stdout or "[]")
    found = types.SimpleNamespace(handles={sensor["handle"] for sensor in sensors}, opens=set(),
                                  requests=set(), properties=set(), log=set(), failed=set())
    handles = " ".join(str(handle) for handle in sorted(found.handles))

    def take(text):
        """Paths that are opened, one of each kind."""
        opened = {}
        for line in text.splitlines():
            if match := LOG.match(line):
                found.log.add((match[1], normal(match[2])))
            if not (match := CALL.match(line)):
                continue
            call, path, number = match.groups()
            if call.endswith("prop"):
                found.properties.add((path, call))
            elif call == "ioctl":
                found.requests.add((known(path), int(number, 16)))
            else:
                what = {"opendir": "DIRECTORY", "remove": "REMOVE"}.get(call)
                what = what or flag_text(int(number, 16))
                found.opens.add((known(path), what))
                opened.setdefault(known(path), path)
        return opened.values()

    with (concurrent.futures.ThreadPoolExecutor(4) as pool,
          tempfile.NamedTemporaryFile("w") as chips):
        print(UNKNOWN, file=chips, flush=True)
        texts = dict(zip(REQUESTS, pool.map(run, REQUESTS)))
        again = [(request, "--fault", f"open:{path}:EACCES") for request in REQUESTS
                 for path in take(texts[request])]
        again += [(request, "--fault", fault) for request, fault in TROUBLE]
        again.append(("list", "--chips", chips.name))
        for text in pool.map(lambda arguments: run(*arguments), again):
            take(text)
    done = subprocess.run([session], capture_output=True, text=True, timeout=60)
    if done.returncode:
        raise RuntimeError(f"{session}: {done.returncode}")
    take("\n".join(line for line in done.stderr.splitlines() if " /data/vendor/" in line))
    # Not all are listed.
    described = re.findall(r"SensorsHub: handle (\d+)\n", texts[WATCH])
    found.described = found.handles | set(map(int, described))
    return found
