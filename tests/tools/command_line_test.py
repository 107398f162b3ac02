#!/usr/bin/env python3
"""Runs subhalctl as a user would: command_line_test.py PROGRAM NOT_A_SUB_HAL GROUP

A row is a command line and how it has to end. Whatever happens, no sensor stays on and no file of
the simulated hub stays behind."""

import atexit
import concurrent.futures
import contextlib
import ctypes
import fcntl
import json
import math
import os
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time

PROGRAM, NOT_A_SUB_HAL, GROUP = sys.argv[1:4]
TIMEOUT = 50
F_SETPIPE_SZ = 1031  # fcntl has the name from Python 3.10 on
PR_SET_PDEATHSIG = 1
LIBC = ctypes.CDLL(None)
REAL_DEVICES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "real_devices.jsonl")
LONGEST = "5a" * 1119
MS = 10**6
NUMBER = r"-?[0-9.]+(e[-+][0-9]+)?"
EVENT = (r'^{"kind":"data","timestamp_ns":[0-9]+,"received_ns":[0-9]+,"handle":4,'
         r'"sensor":"gyroscope","wakeup":false,"values":{"x":%s,"y":%s,"z":%s},'
         r'"accuracy":"high","unit":"rad/s"}$' % (NUMBER, NUMBER, NUMBER))

FIGURES = ["events<0", "lost<0", "latency.p50<0ns", "latency.max<0ns", "interval.min<0ns",
           "interval.max<0ns", "jitter<0s", "rate<0"]


os.environ.pop("COLUMNS", None)


def start(command, closed=(), small=(), ignored=(), **options):
    """Starts a process that ends with this script at the latest, however that ends."""
    def before():
        LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, signal.SIG_IGN if number in ignored else signal.SIG_DFL)
        for number in small:
            fcntl.fcntl(number, F_SETPIPE_SZ, 4096)
        for number in closed:
            os.close(number)
    return subprocess.Popen(command, preexec_fn=before, **options)


class Row:
    """`out` and `err` are searched for, `lines` has to fit every line of standard output, `judge`
    gets that output; `stdout` is "full", "closed", "head" (leaves after a line), "blocked", or
    "hung" when it is standard error that is blocked."""

    def __init__(self, args, code=0, out="", err="", lines="", judge=None, stdout="pipe",
                 signals=(), ignored=(), hub="--sim", env=None, watched=True):
        self.__dict__.update(locals())
        self.args = args if isinstance(args, list) else args.split()

    def run(self):
        with tempfile.TemporaryDirectory() as directory:
            command = [PROGRAM] + self.hub.split() + self.args
            if self.watched:
                command += ["--log", "info"]
            output = {"full": lambda: open("/dev/full", "w"),
                      "closed": lambda: None}.get(self.stdout, lambda: subprocess.PIPE)()
            process = start(
                command, stdout=output, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL,
                env={**os.environ, "TMPDIR": directory, "LC_ALL": "C", **(self.env or {})},
                ignored=self.ignored, closed=[1] if self.stdout == "closed" else [],
                small={"blocked": [1], "hung": [2]}.get(self.stdout, []))
            try:
                return self.watch(process, directory)
            finally:
                process.kill()
                process.wait()

    def watch(self, process, directory):
        if self.stdout == "head":
            process.stdout.readline()
            process.stdout.close()
            process.stdout = None
        unread = {"blocked": process.stdout, "hung": process.stderr}.get(self.stdout)
        begin = process.stdout.readline() if self.signals and not unread else b""
        if unread:
            select.select([unread], [], [], TIMEOUT)
        for number in self.signals:
            time.sleep(0.5)
            process.send_signal(number)
        if unread:
            process.wait(TIMEOUT)
        out, err = process.communicate(timeout=TIMEOUT)
        return self.faults(process.returncode, (begin + (out or b"")).decode(), err.decode(),
                           os.listdir(directory))

    def faults(self, code, out, err, left):
        found = []
        if code != self.code:
            found.append("exit code %d instead of %d" % (code, self.code))
        if not re.search(self.out, out):
            found.append("standard output lacks %r" % self.out)
        if not re.search(self.err, err):
            found.append("standard error lacks %r" % self.err)
        if self.lines:
            found += ["line %r does not fit %r" % (line, self.lines) for line in out.splitlines()
                      if not re.search(self.lines, line)]
        if self.judge and not self.judge(out):
            found.append("the output is not as it should be")
        if 0 <= code < 128 and left:
            found.append("left behind: %s" % left)
        on = dict(re.findall(r"type : ([0-9]+), enable : ([01])\n", err))
        if "1" in on.values():
            found.append("left on: %s" % on)
        if found:
            found += ["--- standard output", out[-3000:], "--- standard error"]
            found += [line for line in err.splitlines()[-300:] if " SensorsHub: " not in line]
        return found


def figures(column, low, high):
    """The column of the one sensor's summary lies between two numbers."""
    return lambda out: low <= float(out.rstrip().splitlines()[-1].split()[column]) <= high


def fits_a_terminal():
    """The window decides, not what COLUMNS says of another one."""
    faults = []
    for options, longest in ((["--sim"], 80), (["--sim", "--wide"], 130)):
        master, slave = os.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("4H", 24, 80, 0, 0))
        with start([PROGRAM] + options + ["list"], stdout=slave, env={**os.environ, "COLUMNS": "70"}):
            os.close(slave)
            text = b""
            with contextlib.suppress(OSError):  # the end, on a terminal
                while piece := os.read(master, 4096):
                    text += piece
        os.close(master)
        found = max(map(len, text.decode().splitlines()))
        faults += ["%s: lines of %d" % (options, found)] if found != longest else []
    return faults


def six_at_once():
    """Each has a hub of its own."""
    command = [PROGRAM, "--sim", "--quiet", "watch", "1@100", "--count", "30"]
    runs = [start(command, stdout=subprocess.PIPE) for _ in range(6)]
    ends = [(run.communicate()[0].count(b"\n"), run.returncode) for run in runs]
    return [] if ends == [(30, 0)] * 6 else [str(ends)]


def saved_file(content):
    """A file with these bytes, this text or this catalogue of chips."""
    text = content if isinstance(content, (str, bytes)) else json.dumps(content)
    with tempfile.NamedTemporaryFile("wb", suffix=".json", delete=False) as file:
        file.write(text if isinstance(text, bytes) else text.encode())
    atexit.register(os.remove, file.name)
    return file.name


def run(*args, code=0, env=None):
    """What a command prints on both outputs; raises when it ends otherwise."""
    done = subprocess.run([PROGRAM, *args], capture_output=True, text=True, timeout=TIMEOUT, env=env)
    if done.returncode != code:
        raise AssertionError("%s: exit code %d\n%s%s" % (args, done.returncode, done.stdout,
                                                         done.stderr))
    return done.stdout + done.stderr


def what_was_recorded_stays():
    """A recording that comes to nothing harms no earlier one, and leaves nothing behind."""
    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, "run")
        open(path, "w").write("earlier")
        run("--sim", "record", "-o", path, "none", code=4)
        run("--sim", "--fault", "read:1:EIO", "record", "-o", path, "1", "--seconds", "0.3", code=6)
        with start([PROGRAM, "--sim", "--still", "record", "-o", path, "17"]) as silent:
            while silent.poll() is None and not os.path.exists(path + ".part"):
                time.sleep(0.01)
            silent.send_signal(signal.SIGINT)
        left = os.listdir(directory), open(path).read(), silent.returncode
        return [] if left == (["run"], "earlier", 6) else [str(left)]


def recordings():
    """A recording plays as it came, also under another verb; a spoilt one says where."""
    faults = []
    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, "run.jsonl")
        open(path, "w").write("of an earlier one")
        run("--sim", "record", "-o", path, "1@100", "4@200", "5", "8", "17", "32", "38@100",
            "--seconds", "1.2")
        lines = open(path).read().splitlines(True)
        kinds = [json.loads(line)["kind"] for line in lines]

        def spoilt(index, code, says, *changes):
            """The recording with line `index` changed has to be found out."""
            text = lines[index]
            for old, new in changes:
                text = re.sub(old, new, text, count=1)
            if changes and text == lines[index]:
                faults.append("%r is not to be spoilt" % text)
            other = os.path.join(directory, "spoilt.jsonl")
            open(other, "w").write("".join(lines[:index] + [text] + lines[index + 1:]))
            said = run("replay", other, "--fast", code=code)
            if not re.search(says % {"line": index + 1}, said):
                faults.append("%s not in %r" % (says, said))

        if not re.search(r"^[0-9]+ events of 7 sensors and 2[0-9] calls to the hub are identical",
                         run("replay", path, "--fast")):
            faults.append("not the same")
        with start([PROGRAM, "--sim", "--quiet", "--fault", "open:/sys/class/sensors/hbx_sensor/enable:EIO*1@400ms",
                    "record", "-o", "-", "1@500", "4@500", "--count", "9", "--latency", "500"],
                   stdout=subprocess.PIPE) as piped:
            played = subprocess.run([PROGRAM, "replay", "-", "--fast"], stdin=piped.stdout).returncode
        if played or piped.returncode != 5:
            faults.append("a batch of more than --count and a failed open are not the same through a pipe")
        run("--replay", path, "--fast", "record", "-o", path + ".again", "1", "5")
        run("--replay", path, "watch", "1", "--seconds", "0.4", "--require", "lost=0")
        run("replay", path + ".again", "--fast")
        raw = kinds.index("raw", 200)
        event = kinds.index("event", 200)
        spoilt(event, 1, "the first is line %(line)d: .*, event [0-9]+: payload ",
               ('hex":"..', 'hex":"5a' if '"hex":"5a' not in lines[event] else 'hex":"a5'))
        spoilt(event, 1, "time stamp", ('stamp_ns":', 'stamp_ns":1'))
        spoilt(kinds.index("request"), 1, "line %(line)d: batch of .* returned OK instead of BAD",
               ('result":"OK', 'result":"BAD'))
        call = next(i for i, line in enumerate(lines) if '"hex":"313100"' in line)  # a switch on
        spoilt(call, 1, "line %(line)d: call [0-9]+: write .*enable 313100 instead of .* 393100", ("3131", "3931"))
        spoilt(call, 1, "line [0-9]+: call [0-9]+: write .*enable 313100 instead of ioctl ", (".*\n", ""))
        spoilt(call, 1, "line [0-9]+: call [0-9]+: ioctl .* instead of write .* 313100", ("(.*\n)", r"\1\1"))
        batch = next(i for i, line in enumerate(lines) if '"number":2148072452}' in line)
        spoilt(batch, 1, "ioctl .*fc04. instead of ioctl .*fc09.", ("2452}", "2457}"))
        off = max(i for i, line in enumerate(lines) if "33383000" in line)
        spoilt(off, 1, "line [0-9]+: call [0-9]+ is missing: write .*enable 33383000", ("(.*\n)", r"\1\1"))
        spoilt(raw, 2, "line %(line)d: .hex. is not in hex", ('hex":"', 'hex":"x'))
        spoilt(raw, 2, "line %(line)d: this is no JSON object", ("}", ""))
        spoilt(raw, 2, "line %(line)d: .handle. is out of range", ('handle":', 'handle":99999'))
        spoilt(raw, 2, "line %(line)d: .kind. is unknown", ("raw", "row"))
        spoilt(event, 2, "line %(line)d: .hex. has 65 bytes instead of 64", ('hex":"', 'hex":"00'))
        spoilt(0, 2, "line 1: .version. is not 1, the one that this ", ('version":1', 'version":2'))
        spoilt(len(lines) - 1, 2, "line [0-9]+: the recording breaks off", (".*\n", ""))
        spoilt(len(lines) - 1, 2, "events. is not their number, [0-9]+", ('events":', 'events":1'))
        greeting = next(i for i, line in enumerate(lines) if "shub_file" in line)
        spoilt(greeting, 1, "line %(line)d: greeting 1: write .*file 03 instead of .* 04", ('"03"', '"04"'))
        spoilt(greeting, 1, "greeting 1 is not recorded: write .*file 03", (".*\n", ""))
        spoilt(len(lines) - 1, 2, "line [0-9]+: the recording breaks off in", ("}\n", ""))
        last = [i for i, line in enumerate(lines) if re.match('.*"event".*"handle":4,', line)][-9:]
        ended = [line for i, line in enumerate(lines) if i not in last]
        ended[-1] = re.sub("[0-9]+}", "%d}" % (kinds.count("event") - 9), ended[-1])
        if "gyroscope, event" not in run("replay", saved_file("".join(ended)), "--fast", code=1):
            faults.append("the last records of a sensor were not played")

        # It has no say over files of the host: not by a request of the hub's, not by a way out.
        victim = os.path.join(directory, "victim")
        for node, content in (("/dev/iio:device53", "fb0100" + "00" * 8),
                              ("/sys/class/sensors/hbx_sensor/shub_file",
                               (victim + ",5,0,0,hello").encode().hex()), ("/../" + victim, "00")):
            lines.insert(3, json.dumps({"kind": "call", "t": json.loads(lines[3])["t"], "call": "read",
                                        "path": node, "hex": content,
                                        "result": len(content) // 2}) + "\n")
        spoilt(3, 0, "events of 7 sensors and .* are identical")
        if os.path.exists(victim):
            faults.append("the recording wrote a file")
        del lines[3:6]

        csv = run("--replay", path, "--fast", "watch", "1", "--format", "csv", "--quiet")
        stamps = [int(line.split(",")[0]) for line in csv.splitlines()[1:] if line[0].isdigit()]
        events = [json.loads(line) for line in lines if '"event"' in line]
        wanted = [one["timestamp_ns"] for one in events if one["handle"] == 1]
        if stamps != wanted:
            faults.append("watch shows other events than were recorded: %s" %
                          set(stamps).symmetric_difference(wanted))
    return faults


def made(count=600, period=10 * MS, lost=(), late=None, stale=0, x=lambda i: 1, others=True,
         odd=None):
    """A recording from second 1,000 on. The accelerometer at 100 Hz says 1, 2, 9; each record is read
    1 ms after its stamp, and posted 1 ms later. The proximity sensor reports once."""
    start = 1000 * 10**9
    end = start + 150 * MS + count * period
    lines = [{"kind": "start", "t": start, "recording": "subhalctl", "version": 1},
             json.loads(open(REAL_DEVICES).readlines()[1])]

    def event(handle, kind, t, values, delay=2, stale=0):
        lines.append({"kind": "raw", "t": t + MS, "handle": handle, "hex": "00" * 14})
        lines.append({"kind": "event", "t": t + delay * MS, "handle": handle, "type": kind,
                      "timestamp_ns": t - stale, "wakelock": handle == 8,
                      "hex": struct.pack("<16f", *values, *[0] * (16 - len(values))).hex()})

    def request(what, handle, t, result="OK", **members):
        lines.append({"kind": "request", "t": t, "request": what, "handle": handle, **members,
                      "result": result, "duration_ns": MS})

    for handle in [1] + [8] * others:
        request("batch", handle, start + 50 * MS, period_ns=period, latency_ns=0)
        request("activate", handle, start + 60 * MS, enable=True)
    lines.append({"kind": "call", "t": start + 60 * MS, "call": "write", "path": "/dev/batch_io",
                  "hex": "01", "result": 1})
    for i in [i for i in range(count) if i not in lost]:
        event(1, 1, start + 100 * MS + i * period, (x(i), 2, 9), 500 if i == late else 2,
              stale if i == 0 else 0)
    if others:
        event(8, 65592, start + 200 * MS, (8, 100))
        lines += [{"kind": "wakelock", "t": start + t * MS, "held": t == 201} for t in (201, 204)]
    lines[-5].update(odd or {})
    request("flush", 1, end, "BAD_VALUE")
    request("activate", 1, end, enable=False)
    lines.append({"kind": "end", "t": end, "events": sum(line["kind"] == "event" for line in lines)})
    return saved_file("".join(json.dumps(line) + "\n" for line in lines))


def lacking(text, *wanted):
    return ["not in %r: %s" % (text[:2000], one) for one in wanted if one not in text]


def picture():
    """What is rare is seen, where it happened, in a page that a browser takes."""
    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, "page.html")
        run("plot", made(10000, lost=range(300, 303), late=9999, stale=2**62,
                         x=lambda i: {5000: 78.4, 6000: math.nan}.get(i, 1)), "-o", path)
        page = open(path).read()
        # The spike, and the ground of the gap: 100.59 s are 800 pixels.
        faults = lacking(page, "accelerometer (1)", "9996 events, granted 100 Hz, measured 99.97 Hz",
                         "jitter 0.3001 ms", "3 lost, 1 late, 1 stale", ">flush: BAD_VALUE<", ">100 Hz<",
                         ">x [m/s²]: 1 … 78.4<", ">level: 100 … 100<", "V104.4V43.6V104.4",
                         '<rect class="lost" x="98.6" y="40.0" width="1.5" height="68.0"/>',
                         ">interval p50 10 ms<", ">latency p50 2 ms<", ">p99 2 ms<", ">2 … 500 ms<", ">1 beyond<", "1 event, 1 wakelock", "H874.0\"",
                         '<rect class="wakelock" x="75.6" y="2.0" width="1.5"')
        if page.count("L") > 2 * 801 + 801 * 3:
            faults.append("more points than columns")
        browser = next(filter(None, map(shutil.which, ("chromium-headless-shell", "chromium"))), None)
        if browser is None:
            print("no browser: the page is not opened")
            return faults
        dom = subprocess.run([browser, "--headless", "--no-sandbox", "--disable-gpu", "--dump-dom",
                              "--user-data-dir=" + directory, "file://" + path],
                             capture_output=True, text=True, timeout=TIMEOUT).stdout
        return faults + lacking(re.sub("(?s)<svg.*?</svg>", "PICTURE", dom),
                                "jitter 0.3001 ms</small></h2>\nPICTURE\n</section>")


def traces():
    """Read back, an exported recording has all of it."""
    path = made(late=599, stale=10**9, lost=[7])
    events = json.loads(run("export", path, "-o", "-"))["traceEvents"]
    common = {"ph": str, "name": str, "pid": int, "tid": int}
    more = {"M": {"args": dict}, "i": {"ts": float, "s": str, "args": dict}, "C": {"ts": float, "args": dict},
            "X": {"ts": float, "dur": float, "args": dict}, "b": {"ts": float, "cat": str, "id": int},
            "e": {"ts": float, "cat": str, "id": int}}
    faults = ["not as the format has it: %s" % event for event in events
              if {name: type(value) for name, value in event.items()} != {**common, **more[event["ph"]]}]

    def of(phase, track=1):
        return [event for event in events if (event["ph"], event["tid"]) == (phase, track)]
    recorded = [json.loads(line) for line in open(path)]
    mine = [line for line in recorded if line["kind"] == "event" and line["handle"] == 1]
    seen = {
        "stamps": [event["args"]["timestamp_ns"] for event in of("i")] ==
        [line["timestamp_ns"] for line in mine],
        "times": [round(event["ts"] * 1000) for event in of("i")][1:] ==
        [line["timestamp_ns"] for line in mine][1:],
        "stale": [event["name"] for event in of("i")] == ["stale"] + ["data"] * 598,
        "values": [event["args"] for event in of("C")] == [{"x": 1, "y": 2, "z": 9}] * 598,
        "latency": [end["ts"] - begin["ts"] for begin, end in zip(of("b"), of("e"))] ==
        [1000] * 598 + [499000] and all(b["id"] == e["id"] for b, e in zip(of("b"), of("e"))),
        "requests": [(event["name"], event["ts"], event["dur"]) for event in of("X")] == [
            ("batch: OK", 1000050000, 1000), ("activate: OK", 1000060000, 1000),
            ("flush: BAD_VALUE", 1006150000, 1000), ("activate: OK", 1006150000, 1000)],
        "calls": [(event["name"], event["args"]) for event in of("i", 1000)] == [
            ("write /dev/batch_io", {"hex": "01", "result": 1})],
        "wakelock": [(event["ts"], event["dur"]) for event in of("X", 1001)] == [(1000201000, 3000)],
        "level": of("C", 8)[0]["args"] == {"distance": 8, "level": 100},
    }
    tables = run("export", path, "--format", "csv", "-o", "-").split("\n\n")
    seen["tables"] = [(table.split("\n")[0][-9:], table.strip().count("\n")) for table in tables] == [
        ("acy,x,y,z", 599), ("nce,level", 1)]
    return faults + [what for what, is_so in seen.items() if not is_so]


def compared(says, code=1, **other):
    return Row(["compare", made(), made(**other), "--quiet"], code, hub="", out=says)


ROWS = {
    "verbs": [
        Row("list", out=r"\n +1  accelerometer +continuous +6.25 to 500 Hz ",
            lines=r"^handle |^ +[0-9]+  \w+ +(continuous|on change|one-shot|special) "),
        Row(["list", "43", "accelerometer", "LSM6DSO accelerometer", "Accelerometer_Sub",
             "roscope-s", "com.tavrine.sensor.Folding_State_LPM"],
            judge=lambda out: [line.split()[0] for line in out.splitlines()[1:]]
            == ["43", "1", "1", "58", "60", "65"]),
        # What the hub calls itself has no say over the terminal; letters of any language stay.
        Row(["--chips", saved_file([{"handle": 1, "chip": "\x1b[2m\n\x07äµ\x7f\x9b"}]), "list"],
            out=r"  \\x1b\[2m\\x0a\\x07äµ\\x7f\\xc2\\x9b Accel", lines=r"^[^\0-\x1f\x7f-\x9f]*$",
            err=r": name \\x1b\[2m\\x0a\\x07ä"),
        Row("list -v", out="\n +flags +0x786: special; non-wake-up, direct in memory up to very"),
        # What the delays leave open; 32 is the hub's own.
        Row(["--chips", saved_file([{"handle": 1, "min_delay_us": -1}, {"handle": 2, "min_delay_us": 10000,
                                    "max_delay_us": 10000}]), "list"],
            out=r"1 .* continuous +any .*\n +2 .* continuous +100 Hz .*\n +32 .* special +when it has news "),
        Row(["--chips", saved_file([{"handle": 1}]), "watch", "1@100", "--count", "9"],
            out=r"accelerometer +9( +100\.000){3} "),
        Row("list", env={"COLUMNS": "80"}, lines=r"^.{1,80}$", out="^handle  sensor +mode +rates\n"),
        fits_a_terminal,
        Row("list --format json",
            judge=lambda out: json.loads(out)[0]["name"] == "LSM6DSO Accelerometer"),
        Row("--version", out=r"^subhalctl [0-9.]+\n$", hub=""),
        Row("watch 1 --rate 100 --count 20", out="1  accelerometer: x .m/s²], y .m/s²",
            judge=figures(2, 20, 20)),
        Row("watch accelerometer@100 pressure@50 --seconds 1",
            out=r"accelerometer +[0-9]+ +100.000 +100.000 +(9[0-9]|100)(\.[0-9]+ +[0-9]+){3}\.[0-9]+"
                r" +0 (.|\n)*pressure +[0-9]+ +50.000 +25.000 +2[0-9]\."),
        Row("watch 16 8 --count 6", env={"COLUMNS": "80"}, lines="^.{0,80}$",
            out=r"\n *[0-9.]+ +16    ( +\S+){4}\n {29}( +\S+){2}  rad/s\n(.|\n)*"
                r"\nhandle  sensor +events  granted/Hz  measured/Hz +p99/ms  lost\n"),
        Row("watch --help", hub="", env={"COLUMNS": "80"}, lines="^.{0,80}$",
            out=r"--require(.|\n)*\n  --sim(.|\n)*\n  --quiet(.|\n)*\nExit status: \S+ --help\n$"),
        Row("watch 1 5 --rate 50 --count 20 --format csv", lines=r"^([^,]*,){10}[^,]*$",
            out="^timestamp_ns,received_ns,handle,sensor,kind,stale,wakeup,accuracy,v0,v1,v2\n",
            err="accelerometer +[0-9]+ +50.000 +50.000 "),
        Row("--quiet watch 4 --count 10 --format json", lines=EVENT),
        Row("--fault push:2:%sff%s@0.1s watch 2 --seconds 0.3 --format csv" % ("00" * 12, "00" * 8),
            env={"COLUMNS": "50"}, out=",no contact,0"),
        Row("--fault write:/sys/class/sensors/hbx_sensor/enable:EIO@0.1s watch 1 --seconds 0.3", 5,
            err="handle 1: switching off: BAD_VALUE"),
        Row("watch 8 --count 1 --seconds 20", out=r" 8 W   physical_proximity (.|\n)* 1\n$"),
        Row("watch significant_motion", out=r"significant_motion +1 +- +- +- (.|\n)* 1\n$"),
        Row("watch sensorhubs --seconds 0.3", judge=figures(2, 3, 3),
            out="additional info begin\n.*info 0x10000002.*\n.*additional info end\n"),
        Row("flush accelerometer", out="flush complete after "),
        Row("inject light 0x10000002 100 5 20 500",
            out="received: 01 05 64 00 00 00 05 00 00 00 14 00 00 00 f4 01 00 00\n"),
        Row("inject 5 --words 0x10000000 0 0x42c80000", out="received: 01 05 64 00 00 00\n"),
        Row("--quiet direct vdis_gyro --rate fast --seconds 0.5 --check",
            lines=r"^age p50 [0-9.]+, .* 0 torn, 0 lost, 0 stale; [34][0-9][0-9].[0-9]+ Hz, "),
        Row("direct 38 --rate normal --seconds 0.2 --format json", out='"age_p50_ns":[0-9]+,.*"lost":0',
            lines=r'^{"kind":"(data|summary)"'),
        # A record without its stamp, and a sensor that falls silent.
        Row("--fault cut:38:4@1s direct 38 --rate fast --seconds 1.3 --check", 1, env={"COLUMNS": "80"},
            lines="^.{1,80}$", out=r" 0\.0{9} +- (.|\n){,80}  stale\n(.|\n)* 0\s+torn, 1\s+backward"),
        Row("--fault cut:38:4@1s direct 38 --rate fast --seconds 1.3 --format json",
            out=r'"timestamp_ns":0,.*"stale":true(.|\n)*"torn":0,"backward":1'),
        Row("--fault drop:38@1s --quiet direct 38 --rate fast --seconds 1.6 --check", 1,
            out=r" 0 lost, 0 stale; .*\nsilent for the last [0-9]{3,4}\.[0-9] ms\n"),
        *[Row("--fault read:38:EIO --quiet direct 38 --rate fast --seconds 0.1 --check --format " + form, 6, out=says)
          for form, says in (("text", "^age p50 -, p99 -, max - ms; 0 rec.* - Hz, jitter - ms"),
                             ("json", '"age_p50_ns":null,.*"rate_hz":null,"jitter_ns":null'))],
        Row("direct 38 --rate normal --events 100 --seconds 0.3", out="events through the proxy"),
        Row("message --text hello", out="received the whole message"),
        Row("message --hex " + LONGEST, out="^the library took 1119 bytes\nthe hub received the whole message"),
        Row("--fault absent:/dev/hbx_sensorhub message --text hello", 1, out="the hub received nothing"),
        Row("hub dump 5 1", out=r"/shub_dump\n.*/data/vendor/sensorhub/shub_dump_005_[0-9]+_"),
    ],
    "refusals": [
        Row("", 2, err="expected a verb: list, doctor"),
        Row("--bogus", 2, err="not expected: --bogus"),
        Row("lst", 2, err="lst is no verb; expected one of list, "),
        Row("watch 1 --rate 5 --period 5", 2, err="excludes"),
        Row("--seed 3 list", 2, err="--seed requires --sim", hub=""),
        Row("--fast list", 2, err="--fast requires --replay"),
        Row("watch 1 --count 1.5", 2, err="1.5 is not a whole number"),
        Row("message --hex " + LONGEST + "00", 2, err="has 1 to 1119 bytes, not more"),
        Row("message --file /dev/zero", 2, err="not more"),
        Row("hub dump 0 1", 2, err="--sim", hub=""),
        Row("hub dump 5 0", 2, err="0 is not a number from 1 to"),
        Row("watch 1 --period 9223372036854775807", 2, err="from 1 to 1e.15;"),
        Row("watch 1 --stats 1 --format json", 2, err="--stats .* --format json"),
        *[Row("watch 1@" + rate, 2, err='expected a rate in Hz')
          for rate in ("", "0", "-5", "nan", "inf", "fast", "5Hz", "1e-300")],
        *[Row(args + " " + number, 2, err=number + " is not a number from ")
          for number in ("nan", "inf", "-1")
          for args in ("watch 1 --seconds", "direct 38 --rate fast --seconds", "watch 1 --rate",
                       "direct 38 --rate fast --events", "flush 1 --seconds", "watch 1 --count")],
        Row("watch 1@10 accelerometer@20", 2, err="at 10 Hz and at 20 Hz"),
        *[Row(["--chips", saved_file([{"handle": 1}, {"handle": 4, key: value}]), "list"], 2,
              err="chip 2: %s is no (number from 0 on|text|whole number from [0-9-]+ to %s)\n" % (key, most))
          for key, value, most in (("vendor", "Acme", 11), ("vendor", 12, 11), ("range", [], ""),
                                   ("chip", 3, ""), ("fifo_max", 1.5, 65535))],
        *[Row(["--chips", saved_file([{"handle": 1}, chip]), "list"], 2, err=": chip 2: " + says)
          for chip, says in (({"handle": 1}, "an earlier one has the handle 1, too\n"),
                             ({"handle": 4, "min_delay": 10}, "it has an unknown member min_delay\n"),
                             ({"handle": 4, "min_delay_us": 10, "max_delay_us": 5}, "min_delay_us is above"),
                             ({"handle": 4, "resolution": -1}, "resolution is no number from 0 on\n"))],
        *[Row("--fault %s list" % fault, 2, err="--fault .*: " + says) for fault, says in (
            ("open:1:EFOO", "EFOO is no name of an error"), ("open:1x:EIO", "1x is no handle"),
            ("open:1:EIO*1.5", "1.5 is no count"), ("poll:EIO@1e1", "1e1 is no time"),
            ("poll:EINTR", "poll:EINTR needs a count, .N: "),
            ("foo:1", "foo is no fault; there are open:W"), ("cut:1:5x", "5x is no number of bytes"),
            ("drop:3", "no sensor has the handle 3; there are 1 2 4 "), ("drop:1*2", "drop is no call"),
            ("absent:/x", "/x is no file of the hub; it has\n  /dev/batch_io\n"),
            ("push:1:00", "it needs a time"), ("ioctl:1:EIO", "a sensor's device takes no ioctl"),
            ("read:/dev/batch_io:EIO", "/dev/batch_io takes ioctls only"), ("write:/sys/class/sensors/hbx_sensor/sensor_spec:EIO",
                                               ".*sensor_spec is read-only"))],
        Row("replay " + REAL_DEVICES, 2, err="--sim excludes replay"),
        Row(["--replay", REAL_DEVICES, "check"], 2, err="check excludes --replay: ", hub=""),
        Row("--library /no/such/library.so list", 3, err="/no/such/library.so", hub=""),
        Row("--library " + NOT_A_SUB_HAL + " list", 3, err="sensorsHalGetSubHal", hub=""),
        *[Row("list", 3, err="TMPDIR=%s: %s" % (where, why), env={"TMPDIR": where}) for where, why in
          (("/nonexistent", "No such file"), ("/proc", "No such file"), ("/etc/passwd", "Not a dir"))],
        *[Row(["watch", none], 4, err="no sensor is called " + (none or "''") + ";")
          for none in ("70000", "7", "")],
        Row("watch uncal", 4, err=r" 16  gyroscope_uncalibrated .*\n +43  accelerometer_uncalibrated "),
        Row("inject light 0x20000000", 5, err="light: inject: BAD_VALUE"),
        Row("inject 1 0", out="nothing to do for sub-command 0x0"),
        Row("direct 1 --rate normal", 5, err=r"these do: vdis_gyro \(38\), stillwave_gyro \(50\)"),
        Row("flush significant_motion", 5, err="significant_motion: flush: BAD_VALUE"),
        Row("watch 1@10 --count 1e3 --seconds 0.3", 6, err="[1-4] of 1000 events came"),
        Row("watch 1 --latency 60000 --seconds 0.3", 6, err="y.t: --latency lets it wait for 60000"),
        Row("watch 1@100 aois_sensor@1 --seconds 0.3", 4),
        Row("list", 7, err="no sensor hub here: /sys/.*: No such file.*\n.*--sim", hub=""),
        Row("--fault open:/sys/class/sensors/hbx_sensor/sensor_spec:EACCES list", 7,
            err="no sensor hub here: /sys/.*: Permission denied\n.*doctor"),
        Row(["--chips", saved_file([]), "--fault", "open:32:EACCES", "list"], 4,
            err="none of its sensors works"),
    ],
    "doctor": [
        Row("doctor", lines=r"^[1-9]\d* sensors described, 0 failures, 0 notes(; as root, .*)?$"),
        Row("doctor -v", out=r": (\d+) records\n(.|\n)*ok +record 3, handle 4: Gyroscope .*\n(.|\n)*"
                             r"ok .*handle 4: a buffer of 3000 records starts\n(.|\n)*\n\1 sensors"),
        Row("doctor", 7, hub="", out="No sensor hub here"),
        Row("--fault open:1:EACCES doctor", 1, env={"COLUMNS": "80"}, lines="^.{1,80}$",
            out=r"FAIL  accelerometer_sensor, handle 1: .*: Permission denied,\n {6}-rw(\S+ ?)+\n"),
        *[Row("--fault %s doctor" % fault, code, out="(^|\n)" + says)
          for fault, code, says in (
              ("open:/sys/class/sensors/hbx_sensor/sensor_spec:EACCES", 7, "FAIL .*Permission"),
              ("absent:/dev/batch_io", 1, "FAIL  /dev/batch_io: No such file.*no rate can be set"),
              ("open:1:EBUSY", 0, "note .*handle 1: in use by"),
              ("open:1:ENODEV", 1, "FAIL .*handle 1: .*its driver is gone"),
              ("open:/sys/bus/iio/devices/:EACCES", 1, "FAIL [^\n]* denied[^\n]* has to read it"
               r"[^\n]*\n\d+ sensors described, 1 failure"),
              ("write:/sys/bus/iio/devices/iio:device3/buffer/enable:ENOMEM", 1,
               "FAIL .*handle 4: a buffer of 3000 records of 14 bytes: Cannot allocate memory; lower"),
              ("open:/sys/bus/iio/devices/iio:device3/buffer/length:EACCES", 1,
               "FAIL .*handle 4: .*/length: Permission denied.*silently, and the buffer may be"),
              ("absent:/sys/bus/iio/devices/iio:device3/buffer/data_available", 0,
               "note .*handle 4: .* one record at a time"))],
        # Where a record stops, in the order of its stations; what may be right is a note.
        *[Row(["--still", *(["--fault", fault] if fault else []), "doctor", *sensor.split(), "--seconds",
               "0.6"], "FAIL" in says, out="(^|\n)" + says)
          for fault, sensor, says in (
              ("open:/dev/batch_io:EACCES", "1", r"FAIL  \S+ .1., hub: batch returned BAD.* has to read it"),
              ("write:/sys/class/sensors/hbx_sensor/enable:EIO", "1", "FAIL .*, hub: activate returned BAD"),
              ("drop:1", "1", 'FAIL .*handle 1: no IIO device(.|\n)*51 sensors described, 1 failure'),
              ("drop:1@0.4s", "17 1", "note .*\nFAIL .*1., device: .* is gone; "),
              ("poll:EIO", "1", "FAIL .*, device: a record is waiting.*: poll.. fails: Input/output"),
              ("write:/sys/bus/iio/devices/iio:device1/buffer/enable:EIO", "1",
               "FAIL .*, buffer: .*device1/buffer/enable is 0, write .*: Input/output error; "),
              ("absent:/sys/bus/iio/devices/iio:device1/buffer/enable", "1",
               "FAIL .*, buffer: not switched on, open .*: No such file"),
              ("available:1:0", "1", "ok .*\nFAIL .*1., batched, count: .*data_available is 0, "),
              ("read:1:EIO", "1", "FAIL .*, read: [0-9]+ failed reads, read /dev/iio:device1: Input"),
              ("read:1:EIO*2", "1", r"note .*, read: 2 of \d+ reads failed, .*\nok    accelerometer .1.: "),
              ("cut:1:5", "1", "FAIL .*, read: a record of 5 bytes instead of 14; "),
              ("push:57:ff" + "00" * 24 + "0100000000000000@0.4s", "57",
               "note  .*, driver: the library posted no event .*: ff0000.*; may be correct"),
              ("push:18:01" + "00" * 8 + "@0.4s", "18", "note  .*, driver: the library posted stale events for"),
              ("", "49", "note  .*, driver: the library posted flush completions for a whole record"),
              ("", "17", "note  .*, hub: accepted the request, sent no record in 0.6 s; may be"),
              ("", "32", "ok    sensorhubs .32.: an event"))],
        Row("--fault read:17:EIO*1 doctor 17", 1, out="FAIL .*17., filter: the library dropped a rec"),
        Row("doctor 1 -v --seconds 0.02", out=r"ok +acc.*, hub: .*\nok .*, device: .*\nok .*, buffer: on, 3000 .*\nok .*, "
            r"read: [1-9] whole records?\nok +accelerometer .1.: an event [0-9.]+ ms after switching"),
        Row(["--chips", saved_file([{"handle": 0}]), "doctor"], 1, out="FAIL .*spec: 1 record, all of "
            "them empty slots; .*firmware(.|\n)*0 sensors described, 1 failure"),
        Row(["--chips", saved_file(b"".join(
            struct.pack("<B15sBiBiiHHfff", handle, b"TWO", 3, 1, 0, 2000, 1000, 10, 20, -1, 5, 0)
            for handle in (1, 3, 1))), "doctor"], 1,
            err="simulator: no device for handle 3, which is not in the table",
            out="handle 1: delays from 2000 to 1000(.|\n)*handle 1: 20 events reserved(.|\n)*handle "
                "1: resolution -1(.|\n)*handle 3: the library has no driver(.|\n)*handle 1: an earlier record has "
                "the same(.|\n)*1 sensor described, 5 failures"),
    ],
    "check": [
        Row("--still check --seconds 0.4", lines="^(PASS|SKIP|KNOWN) |^[0-9]+ results: .* 0 failed",
            watched=False, out=r"timestamps +1 event, 0 not rising, at(.|\n)* flush +0 completions of 0, BAD_VALUE"
            r"(.|\n)*PASS  accelerometer +rate +500.000 Hz(.|\n)*PASS  vdis_gyro +rate +500(.|\n)*"
            r"KNOWN vdis_gyro +direct-rate(.|\n)*SKIP .* silent-when-off +nothing"),
        # Where nothing was seen, nothing is judged; a slow sensor gets the time that it needs.
        Row("--fault read:38:EIO check 38 --seconds 0.2", 1, env={"COLUMNS": "80"}, lines="^.{1,80}$",
            out=r"FAIL +\S+ +first-event +none; see doctor 38\n(.|\n)*" + r"(.|\n)*".join(
                "SKIP .* %s +no" % rule for rule in "rate lost event-kind silent-when-off direct-stamps handles".split())),
        Row(["--chips", saved_file([{"handle": 1, "min_delay_us": 400000, "max_delay_us": 400000, "range": 80,
                                     "resolution": 0.01}]), "check", "1", "--seconds", "0.1"],
            out=r"KNOWN library +initialize-sensors +as they were\n"),
        # Delays that no sensor can have; what has no longest period is not asked for it.
        Row(["--chips", saved_file([{"handle": 1, "min_delay_us": 2000, "range": 80, "resolution": 0.01},
                                    {"handle": 5, "min_delay_us": -1, "range": 4000, "resolution": 0.01}]),
             "check", "--seconds", "0.1"], 1, lines="^(?!.* inf Hz)", out=r"FAIL +\w+ +listing .* 2000 to 0 (.|\n)*"
            r"FAIL +\w+ +listing .* -1 to 0(.|\n)*SKIP .* longest-period (.|\n)*, 2 failed"),
        # In a phase of another rate.
        Row("--fault cut:1:8@1s check 1 --seconds 0.5 --quiet", 1, out="FAIL .* timestamps .*[1-9] not rising"),
        Row("--fault available:1:0 check 1 --seconds 0.2 --quiet", 1,
            out=r"\AFAIL  accelerometer +batching +0 events before the flush\n30 results"),
        Row("--fault available:1:0@0.8s check 1 --seconds 0.2 --quiet", 1,
            out=r"\AFAIL  accelerometer +batching +1 batch, .* silent for [4-9][0-9][0-9]\."),
        Row("--fault write:/sys/class/sensors/hbx_sensor/hbx_flush:EIO@0.9s check 1 --seconds 0.2 --quiet", 1,
            out=r"\AFAIL  accelerometer +flush +0 completions of 1, batched\n"),
        Row("check 5 --seconds 0.1 --format tap",
            lines="^(TAP version 13|ok [0-9]+ - .*|not ok .* # TODO known .*|1..[0-9]+)$"),
        # Three phases in, none of which is judged before its end.
        Row("check 1 4 --seconds 2", 6, out="\ninterrupted after [0-9]+ results: [0-9]+ passed, 0 failed",
            signals=[signal.SIGINT]),
        Row("--fault drop:1@0.3s check 1 --seconds 1 --quiet", 1, watched=False,
            out="FAIL  accelerometer +lost +.* silent for the last [0-9]{3}"),
    ],
    "recordings": [
        recordings,
        picture,
        traces,
        compared("^0 differences\n$", 0, count=500),
        compared(r"^accelerometer \(1\)\ndiffers +lost/% +0 +0.16.*\n1 difference\n$", lost=[300]),
        compared(r"(?s)granted/Hz +100 +80 +-20\n.* rate/Hz .*\n2 diff", period=12500000),
        Row(["compare", made(period=9 * MS), made(), "--tolerance", "10"], hub="", out="\n0 diff"),
        compared(r"^accel.*\ndiffers +x mean +1 +2.5 +\+1.5\n1 diff", x=lambda i: 2.5),
        compared(r"\ndiffers +x deviation +0 +1 +\+1\n1 diff", x=lambda i: i % 2 * 2),
        compared(r"\ndiffers +not finite/% +0 +0.16.*\n1 diff", x=lambda i: math.nan if i == 9 else 1),
        compared("^physical_proximity.*\ndiffers  only in the first recording\n1 diff", others=False),
        compared(r"^accel.*\ndiffers +retyped/% +0 +0.16.*\n1 diff", odd={"type": 35}),
        compared(r"^accel.*\ndiffers +with wakelock/% +0 +0.16.*\n1 diff", odd={"wakelock": True}),
        compared(r"\ndiffers +backward/% +0 +0.16.*\n", odd={"timestamp_ns": 1000 * 10**9 + 6080 * MS}),
        compared(r"\ndiffers +stale/% +0 +0.16", stale=2**62),
        # 10 % and three standard errors of a deviation are 0.277 here; of a mean, 0.337.
        Row(["compare", made(x=lambda i: i % 2 * 2), made(x=lambda i: i % 2 * 2.66 - 0.33)], 1, hub="",
            out="\ndiffers +x deviation +1 +1.33 +.0.33\n"),
        Row(["compare", made(), made(0, others=False)], 6, hub="", err="no fresh data events in it"),
        Row(["plot", made(), "-o", "/nonexistent/page"], 2, hub="", err="/nonexistent/page: No such"),
        *[Row(["plot", one, "-o", one], 2, hub="", err="is the recording itself") for one in [made()]],
        Row(["export", made(), "-o", "/dev/full"], 8, hub="", err="output was lost: No space"),
        # The one of 50 that was late is the p99; one out of order leaves no gap.
        Row(["plot", made(50, late=10), "-o", "-"], hub="", out=">p99 500 ms<"),
        Row(["plot", made(50, stale=-205 * MS), "-o", "-"], hub="", out=">1 backward<",
            judge=lambda out: "measured 102.083 Hz" in out and 'class="lost"' not in out),
        Row(["plot", made(50, stale=-1000 * MS), "-o", "-"], hub="", out="1 off the time(.|\n)*… 510 ms<"),
        # The other sensor's event at the end is no event of this one.
        Row("--fault drop:4@0.3s watch 6@1 4@10 --seconds 2 --require lost=0", 1,
            err="subhalctl: gyroscope: lost is (1[6-9]|2[01]), required is lost=0\n"),
        what_was_recorded_stays,
        # From IIO devices of a real kernel, records of an earlier run in its queues.
        Row(["replay", REAL_DEVICES, "--fast"], hub="",
            out="^84 events of 5 sensors and .* are identical"),
        Row(["--replay", REAL_DEVICES, "--fast", "watch", "1@20", "4"], 6, hub="",
            err=r"the recording has no events of gyroscope \(4\)\n"),
        Row(["--replay", saved_file(re.sub('"request","t":', r"\g<0>9", open(REAL_DEVICES).read())),
             "--fast", "watch", "1"], 6, hub="", out=" 13 ", err="has no fresh events of accel"),
        # A record longer than the library reads, which stays in its device.
        Row(["replay", saved_file(re.sub('"raw"(.*?)"hex": ?"', r'\g<0>00', open(REAL_DEVICES).read())),
             "--fast"], 1, hub="", err="line [0-9]+: the library leaves .* unread; the replay ends here"),
        # All figures, by requiring what none fulfils.
        *[Row(["--replay", REAL_DEVICES, "--fast", "watch", sensor, "--quiet", "--require",
               ",".join(FIGURES)], 1, hub="",
              err="".join("no sensor of this run has it\n.*" if value == "-" else
                      r"%s \S+ is %s( ms)?, required is %s\n.*" % (name, value, figure)
                          for figure, value in zip(FIGURES, values.split())))
          for sensor, name, values in (
              ("1@20", "accelerometer:", "13 12 7.81741 85.5595 100 100 0 10"),
              ("38@100", "vdis_gyro:", "61 60 3.75053 94.204 20 20 0 50"),
              ("5", "light:", "6 - 6.81811 21.0036 - - - -"))],
        Row("record 1 --seconds 0.3 -o /dev/full", 8, err="/dev/full: No space left"),
        Row("record 1@500 -o -", 8, stdout="head", err="-: Broken pipe"),
        Row(["--replay", REAL_DEVICES, "--fast", "watch", "1", "--require", "lost<0.1,rate<11"], hub=""),
        # It was silent for long when it was switched off.
        Row(["--replay", saved_file(re.sub('"t":([0-9]+,"request":"activate","handle":1,"enable":f)',
                                           r'"t":9\1', open(REAL_DEVICES).read())), "--fast", "watch", "1",
             "--require", "lost=0"], 1, hub="", err="lost is [0-9]{3}"),
        Row("record 1 -o /nonexistent/run", 2, err="/nonexistent/run.part: No such file"),
        Row("--replay /nonexistent list", 2, err="/nonexistent: No such", hub=""),
        Row("replay /dev/null", 2, err="null: the file is empty", hub=""),
        Row("watch 1@100 8 --stats 0.2 --seconds 0.5 --require lost=0,backward=0,rate>90,rate<110",
            out=r"time/s .*\n.* accelerometer +[1-9][0-9]* +100.000 +(9[0-9]|100)\.(.|\n)*handle "),
        # A slice's only interval began in an earlier slice.
        Row("watch 34@5 --stats 0.1 --seconds 0.5", out=r"light_cct +1 +5.000 +5.000 +5.000 +0.000 "),
        Row(["watch", "1@100", "--seconds", "0.3", "--require", " events > 5,lost=0 , jitter< 5 ms"]),
        Row("watch 5 --count 1 --require rate>1", 1, err="rate>1: no sensor of this run has it"),
        Row("watch 1@30 --count 9 --require rate=30,interval.max<=33.3333ms"),
        Row("watch 1@30 --count 9 --require rate>30", 1, err="rate is 30, required is rate>30"),
        Row("--fault read:38:EIO watch 38@100 1@10 --seconds 0.3", 6, err="vdis_gyro stayed silent"),
        Row("watch 17 1@10 --count 1 --format json", judge=lambda out: json.loads(out.splitlines()[1]) [
            "latency_p50_ns"] is None and json.loads(out.splitlines()[2])["jitter_ns"] is None),
        Row(["--replay", REAL_DEVICES, "--fast", "watch", "1", "--stats", "1"], 2, hub="", err="excludes --fast"),
        Row("watch 34@5 --count 1 --require interval.max<1s", 1, err="light_cct: nothing was meas"),
        Row("watch 1@100 --seconds 0.3 --require events>5,latency.p99<1us", 1,
            err="accelerometer: latency.p99 is .* ms, required is latency.p99<1us"),
        *[Row("watch 1 --require " + text, 2, err="--require: ")
          for text in ("lost", "lost=", "lost=x", "foo=1", "latency.p99<20", "lost=0,", "rate<nan")],
        Row("--trace watch 1 --count 1 --quiet",
            err=r"ioctl /dev/batch_io 0x8008fc01 0{16}002d3101\w+ = 0\n(.|\n)* read  /dev/iio:device1"
                r" \w{28} = 14\n"),
    ],
    "endings": [
        Row("list", 8, stdout="full", err="output was lost: No space left"),
        Row("list", 8, stdout="closed", err="output was lost: Bad file"),
        *[Row(verb + " --seconds 30", 8, stdout="head", err=r"\A(?![\s\S]*subhalctl: )")
          for verb in ("watch 1@500", "direct 38 --rate fast")],
        Row("watch 1@500 4@500 --seconds 20", 8, stdout="blocked", err="does not read",
            signals=[signal.SIGTERM]),
        *[Row("watch 1 38", signals=[number], out=" 38  vdis_gyro +[1-9]")
          for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)],
        Row("direct 38 --rate fast --check --seconds 30", 6, signals=[signal.SIGINT], out="records, ",
            err="before --seconds were over"),
        *[Row("watch 1 --%s 20000" % end, 6, signals=[signal.SIGINT]) for end in ("count", "seconds")],
        Row("--still watch 17 --require lost=0", 6, signals=[signal.SIGTERM], err="before any event"),
        Row("watch 1 --seconds 20 --require lost=0", 6, signals=[signal.SIGTERM],
            err="before --seconds were over"),
        Row("--still doctor 17 --seconds 30 -v", 6, signals=[signal.SIGINT], out="\ninterrupted; 5"),
        *[Row("watch 1@100 --seconds 1 --require events>80", signals=[number], ignored=[number])
          for number in (signal.SIGINT, signal.SIGHUP)],
        # The thread sanitizer holds signals back while a thread is blocked where it does not look.
        *[Row("list", 130, stdout="hung", signals=[signal.SIGINT, signal.SIGINT])
          for program in [open(PROGRAM, "rb").read()] if b"__tsan_init" not in program],
        Row("watch 1 --count 100000", -signal.SIGKILL, signals=[signal.SIGKILL], watched=False),
        six_at_once,
    ],
}


def main():
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=4) as pool:
        runs = [(row, pool.submit(row if callable(row) else row.run)) for row in ROWS[GROUP]]
        for row, run in runs:
            broken = run.exception()
            faults = [repr(broken)] if broken else run.result()
            if faults:
                failed += 1
                name = row.__name__ if callable(row) else " ".join([row.hub] + row.args)
                print("FAILED: %s\n%s\n" % (name, "\n".join(faults)))
    print("%d of %d rows failed" % (failed, len(ROWS[GROUP])))
    return failed > 0


sys.exit(main())
