#!/usr/bin/env python3
"""Measures how quietly an idle copy of Parlavox runs: wakeups per second of each of
its threads, CPU and resident memory, over a minute.

The copy runs without a window in a home of its own with a private PulseAudio server,
and lists ten colleagues whose records sit in local folders, as an office would.

    scripts/measure_idle.py [--seconds 60] [--binary build/parlavox] [--window] [--changing]

With --window the copy shows its window (needs a display, such as Xvfb's). With
--changing three colleagues' records change every 3 s (names, on and off), and the
resident memory is given at the start and the end: a copy that keeps something of
every change grows (the window did while it made the users' pictures anew at every
change: 0.4 MiB in two minutes here, a megabyte a minute with thirty colleagues).
"""
import argparse
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from measure_calls import start_server  # noqa: E402

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def write_record(folder, name, user_id, on=True):
    os.makedirs(folder, exist_ok=True)
    data = struct.pack("<Ii60s60s", int(on), user_id, name.encode(), b"")
    with open(os.path.join(folder, "ParlavoxUserData"), "wb") as record:
        record.write(data)


def switches(pid):
    """Context switches so far of every thread of `pid`, by thread name and id."""
    counts = {}
    for tid in os.listdir(f"/proc/{pid}/task"):
        fields = {}
        try:
            with open(f"/proc/{pid}/task/{tid}/status") as status:
                for line in status:
                    key, _, value = line.partition(":")
                    fields[key] = value.strip()
        except FileNotFoundError:
            continue
        counts[(fields["Name"], tid)] = (int(fields["voluntary_ctxt_switches"]) +
                                         int(fields["nonvoluntary_ctxt_switches"]))
    return counts


def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_mib(pid):
    with open(f"/proc/{pid}/status") as status:
        for line in status:
            if line.startswith("VmRSS:"):
                return int(line.split()[1]) / 1024
    return 0.0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--binary", default=os.path.join(ROOT, "build", "parlavox"))
    parser.add_argument("--window", action="store_true")
    parser.add_argument("--changing", action="store_true")
    arguments = parser.parse_args()
    if not os.path.exists(arguments.binary):
        raise SystemExit(f"build the program first: {arguments.binary} is missing")

    scratch = tempfile.mkdtemp(prefix="parlavox-idle-")
    server, address = start_server(os.path.join(scratch, "pulse"))
    home = os.path.join(scratch, "home")
    runtime = os.path.join(scratch, "run")
    os.makedirs(runtime, mode=0o700)
    data = os.path.join(home, ".local", "share", "parlavox")
    os.makedirs(os.path.join(data, "Incoming"))
    lines = ["[users]", "foldercount=10"]
    for i in range(10):
        folder = os.path.join(scratch, f"colleague{i}")
        write_record(folder, f"Colleague {i}", 100 + i)
        lines.append(f"folder{i}={folder}")
    with open(os.path.join(data, "settings.ini"), "w") as settings:
        settings.write("\n".join(lines) + "\n")
    env = {"HOME": home, "XDG_RUNTIME_DIR": runtime, "PULSE_SERVER": address,
           "PATH": "/usr/bin:/bin"}
    if arguments.window and "DISPLAY" in os.environ:
        env["DISPLAY"] = os.environ["DISPLAY"]
    command = [arguments.binary] + ([] if arguments.window else ["/service"])
    copy = subprocess.Popen(command, env=env, stderr=subprocess.DEVNULL)
    try:
        time.sleep(6)  # started, and the first presence pass is over
        before, cpu_before = switches(copy.pid), cpu_seconds(copy.pid)
        memory_before = resident_mib(copy.pid)
        end = time.monotonic() + arguments.seconds
        while arguments.changing and time.monotonic() < end - 3:
            time.sleep(3)
            for i in random.sample(range(10), 3):
                write_record(os.path.join(scratch, f"colleague{i}"),
                             f"Colleague {i} {random.randrange(1000)}", 100 + i,
                             random.random() < 0.5)
        time.sleep(max(0.0, end - time.monotonic()))
        after, cpu_after = switches(copy.pid), cpu_seconds(copy.pid)
        total = 0
        print(f"{'Idle ' if not arguments.changing else ''}"
              f"{'windowed' if arguments.window else 'headless'} copy, ten users listed"
              f"{', three changing every 3 s' if arguments.changing else ''}, "
              f"{arguments.seconds:.0f} s:")
        for thread in sorted(after):
            woken = after[thread] - before.get(thread, 0)
            total += woken
            print(f"  thread {thread[0]:<16} {woken / arguments.seconds:6.2f} wakeups/s")
        print(f"  all threads      {total / arguments.seconds:6.2f} wakeups/s")
        print(f"  CPU              {100 * (cpu_after - cpu_before) / arguments.seconds:6.3f} % "
              f"of a core")
        if arguments.changing:
            print(f"  resident memory  {memory_before:6.1f} MiB at the start")
        print(f"  resident memory  {resident_mib(copy.pid):6.1f} MiB")
    finally:
        copy.terminate()
        copy.wait()
        server.terminate()
        server.wait()
        shutil.rmtree(scratch, ignore_errors=True)


if __name__ == "__main__":
    main()
