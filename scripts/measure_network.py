#!/usr/bin/env python3
"""Measures Parlavox across a real Samba server on this machine (smbd on 127.0.0.1:445,
so it needs root): mouth-to-ear through loopback SMB, with the callee's inward folder
shared and with it kept on the server; how soon a message on the server is noticed;
the same calls, both ways, through a relay that adds 20 ms a round trip
(--relay-delay-ms sets half of that); one presence pass over
100 users on one server; and the idle wakeups of a copy whose users and own inward
folder are on the server.

    scripts/measure_network.py [--calls 10] [--binary build/parlavox]
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import measure_calls  # noqa: E402
from measure_calls import Copy, start_server, wait_until  # noqa: E402
from measure_idle import switches, write_record  # noqa: E402

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def start_samba(folder, shares):
    for sub in ("run", "lock", "state", "cache", "private", "ncalrpc"):
        os.makedirs(os.path.join(folder, sub), exist_ok=True)
    conf = os.path.join(folder, "smb.conf")
    with open(conf, "w") as out:
        out.write("[global]\n  interfaces = 127.0.0.1\n  bind interfaces only = yes\n"
                  "  smb ports = 445\n  map to guest = Bad User\n"
                  "  server role = standalone server\n  load printers = no\n"
                  "  printing = bsd\n  printcap name = /dev/null\n  disable spoolss = yes\n"
                  "  server min protocol = SMB2\n  rpc start on demand helpers = no\n")
        for sub in ("run", "lock", "state", "cache", "private", "ncalrpc"):
            key = {"run": "pid directory", "lock": "lock directory", "state": "state directory",
                   "cache": "cache directory", "private": "private dir",
                   "ncalrpc": "ncalrpc dir"}[sub]
            out.write(f"  {key} = {os.path.join(folder, sub)}\n")
        out.write(f"  log file = {os.path.join(folder, 'log')}\n")
        for name, path in shares.items():
            out.write(f"[{name}]\n  path = {path}\n  read only = no\n  guest ok = yes\n"
                      "  force user = root\n")
    # A server that was just stopped may hold the port a moment longer: start again then.
    deadline = time.monotonic() + 20
    while time.monotonic() < deadline:
        # Its input is /dev/null: in the foreground, smbd ends when a piped input ends.
        process = subprocess.Popen(["/usr/sbin/smbd", "--foreground", "-s", conf],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        if wait_until(lambda: process.poll() is not None or subprocess.run(
                ["smbclient", "-N", "//127.0.0.1/IPC$", "-c", "exit"],
                capture_output=True).returncode == 0, 10) and process.poll() is None:
            return process
        process.kill()
        process.wait()
        time.sleep(0.5)
    raise SystemExit("smbd did not start (it needs root for port 445)")


class Notice(threading.Thread):
    """Times how long after a message appears in `server_folder` it appears in
    `local_folder`, polling both every 2 ms."""

    def __init__(self, server_folder, local_folder):
        super().__init__(daemon=True)
        self.server_folder, self.local_folder = server_folder, local_folder
        self.delays, self.running = [], True
        self.start()

    def run(self):
        seen = None
        while self.running:
            on_server = any(n.endswith(".wav") for n in os.listdir(self.server_folder))
            here = os.path.isdir(self.local_folder) and any(
                n.endswith(".wav") and os.path.getsize(os.path.join(self.local_folder, n)) > 0
                for n in os.listdir(self.local_folder))
            now = time.monotonic()
            if on_server and seen is None:
                seen = now
            if seen is not None and here:
                self.delays.append(1000 * (now - seen))
                while self.running and any(n.endswith(".wav") for n in os.listdir(self.server_folder)):
                    time.sleep(0.01)
                seen = None
            time.sleep(0.002)


def call_latencies(folder, calls, callee_inward, caller_lists, notice_from=None):
    """Two copies; the caller lists `caller_lists`; the callee's own inward folder is
    `callee_inward` (None: its local one). Mouth-to-ear of each call, how much longer
    each was heard than spoken, and how soon messages were noticed, in ms."""
    servers, copies = [], []
    notice = None
    try:
        for name in ("caller", "callee"):
            servers.append(start_server(os.path.join(folder, name + "-pulse")))
            copies.append(Copy(os.path.join(folder, name), servers[-1][1]))
        caller, callee = copies
        caller.settings(caller_lists)
        callee.settings(caller.inward)
        if callee_inward:
            config = os.path.join(callee.home, ".config", "parlavox")
            os.makedirs(config, exist_ok=True)
            with open(os.path.join(config, "folders.ini"), "w") as ini:
                ini.write(f"[Folders]\nIncoming={callee_inward}\n")
        for copy in copies:
            copy.start()
        if not wait_until(lambda: all(c.control("--status") == 0 for c in copies), 10):
            raise SystemExit("the copies did not start")
        time.sleep(6)
        if notice_from:
            notice = Notice(notice_from, os.path.join(callee.env["XDG_RUNTIME_DIR"], "parlavox",
                                                       "inward", "127.0.0.1_office_callee"))
        # The next call only once the last message has been heard and deleted where it
        # landed: on a slow network a call made sooner is refused as still playing.
        landed = notice_from or callee.inward

        def heard():
            wait_until(lambda: not any(n.endswith(".wav") for n in os.listdir(landed)), 15)
            time.sleep(0.5)

        latencies, breaks = measure_calls.mouth_to_ear(folder, servers, caller, calls, heard)
        return latencies, breaks, (notice.delays if notice else [])
    finally:
        if notice:
            notice.running = False
        for copy in copies:
            if copy.process:
                copy.control("--quit")
                copy.process.wait(10)
        for process, _ in servers:
            process.kill()
            process.wait()


def report(what, values, unit="ms"):
    if values:
        print(f"{what}: {len(values)} of them, median {statistics.median(values):.0f} {unit}, "
              f"worst {max(values):.0f}, best {min(values):.0f}")
    else:
        print(f"{what}: none measured")


def presence_pass(folder, office):
    """Seconds from a copy's start until its first presence pass over 100 users on the
    server is logged, less the time it takes with no users."""
    def first_pass(users):
        home = os.path.join(folder, f"presence-{users}")
        data = os.path.join(home, ".local", "share", "parlavox")
        os.makedirs(os.path.join(data, "Incoming"), exist_ok=True)
        runtime = os.path.join(home, "run")
        os.makedirs(runtime, mode=0o700, exist_ok=True)
        lines = ["[users]", f"foldercount={users}"]
        lines += [f"folder{i}=smb://127.0.0.1/office/user{i}" for i in range(users)]
        with open(os.path.join(data, "settings.ini"), "w") as ini:
            ini.write("\n".join(lines) + "\n")
        env = {"HOME": home, "XDG_RUNTIME_DIR": runtime, "PATH": "/usr/bin:/bin",
               "PULSE_SERVER": "unix:/nonexistent"}
        began = time.monotonic()
        process = subprocess.Popen([measure_calls.PARLAVOX, "/service"], env=env,
                                   stderr=subprocess.PIPE, text=True)
        for line in process.stderr:
            if "users:" in line:
                break
        took = time.monotonic() - began
        process.terminate()
        process.wait()
        return took

    for i in range(100):
        write_record(os.path.join(office, f"user{i}"), f"User {i}", 1000 + i)
    first_pass(1)  # warms the server
    return [1000 * (first_pass(100) - first_pass(1)) for _ in range(3)]


def idle_wakeups(folder, seconds):
    home = os.path.join(folder, "idle")
    data = os.path.join(home, ".local", "share", "parlavox")
    os.makedirs(os.path.join(data, "Incoming"), exist_ok=True)
    config = os.path.join(home, ".config", "parlavox")
    os.makedirs(config, exist_ok=True)
    with open(os.path.join(config, "folders.ini"), "w") as ini:
        ini.write("[Folders]\nIncoming=smb://127.0.0.1/office/idle\n")
    runtime = os.path.join(home, "run")
    os.makedirs(runtime, mode=0o700, exist_ok=True)
    lines = ["[users]", "foldercount=10"] + [f"folder{i}=smb://127.0.0.1/office/user{i}"
                                             for i in range(10)]
    with open(os.path.join(data, "settings.ini"), "w") as ini:
        ini.write("\n".join(lines) + "\n")
    pulse, address = start_server(os.path.join(folder, "idle-pulse"))
    env = {"HOME": home, "XDG_RUNTIME_DIR": runtime, "PATH": "/usr/bin:/bin",
           "PULSE_SERVER": address}
    process = subprocess.Popen([measure_calls.PARLAVOX, "/service"], env=env,
                               stderr=subprocess.DEVNULL)
    try:
        time.sleep(6)
        before = switches(process.pid)
        time.sleep(seconds)
        after = switches(process.pid)
        for thread in sorted(after):
            woken = (after[thread] - before.get(thread, 0)) / seconds
            if woken >= 0.05:
                print(f"  thread {thread[0]:<16} {woken:6.2f} wakeups/s")
        return sum(after[t] - before.get(t, 0) for t in after) / seconds
    finally:
        process.terminate()
        process.wait()
        pulse.kill()
        pulse.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--calls", type=int, default=10)
    parser.add_argument("--idle-seconds", type=float, default=30)
    parser.add_argument("--relay-delay-ms", type=int, default=10,
                        help="how long the relay holds each packet back, each way")
    parser.add_argument("--binary", help="the program to measure (default: build/parlavox)")
    options = parser.parse_args()
    if options.binary:
        measure_calls.PARLAVOX = os.path.abspath(options.binary)
    if not os.path.exists(measure_calls.PARLAVOX):
        raise SystemExit(f"build the program first: {measure_calls.PARLAVOX} is missing")

    folder = tempfile.mkdtemp(prefix="parlavox-network-")
    office = os.path.join(folder, "office")
    callee_local = os.path.join(folder, "shared", "callee", "home", ".local", "share",
                                "parlavox", "Incoming")
    os.makedirs(os.path.join(office, "callee"), exist_ok=True)
    os.makedirs(os.path.join(office, "idle"), exist_ok=True)
    os.makedirs(callee_local, exist_ok=True)
    samba = start_samba(os.path.join(folder, "samba"),
                        {"callee": callee_local, "office": office})
    relay = None
    try:
        latencies, breaks, _ = call_latencies(os.path.join(folder, "shared"), options.calls,
                                              None, "smb://127.0.0.1/callee")
        report("mouth to ear, callee's inward folder shared through SMB", latencies)
        report("  heard longer than spoken (breaks)", breaks)
        latencies, breaks, notices = call_latencies(
            os.path.join(folder, "kept"), options.calls, "smb://127.0.0.1/office/callee",
            "smb://127.0.0.1/office/callee", notice_from=os.path.join(office, "callee"))
        report("mouth to ear, callee's inward folder kept on the server", latencies)
        report("  heard longer than spoken (breaks)", breaks)
        report("a message on the server noticed (first bytes copied) after", notices)
        relay = subprocess.Popen([sys.executable, os.path.join(ROOT, "scripts", "tcp_relay.py"),
                                  "127.0.0.1:4450", "127.0.0.1:445",
                                  str(options.relay_delay_ms)],
                                 stdout=subprocess.DEVNULL)
        time.sleep(1)
        latencies, breaks, _ = call_latencies(os.path.join(folder, "shared"), options.calls,
                                              None, "smb://127.0.0.1:4450/callee")
        report(f"mouth to ear, shared folder, {2 * options.relay_delay_ms} ms more round trip",
               latencies)
        report("  heard longer than spoken (breaks)", breaks)
        latencies, breaks, _ = call_latencies(
            os.path.join(folder, "kept-far"), options.calls, "smb://127.0.0.1:4450/office/callee",
            "smb://127.0.0.1:4450/office/callee", notice_from=os.path.join(office, "callee"))
        report(f"mouth to ear, kept on the server, {2 * options.relay_delay_ms} ms more round trip",
               latencies)
        report("  heard longer than spoken (breaks)", breaks)
        report("one presence pass over 100 users on one server", presence_pass(folder, office))
        print(f"idle, 10 users and the own inward folder on the server: "
              f"{idle_wakeups(folder, options.idle_seconds):.2f} wakeups/s")
    finally:
        if relay:
            relay.kill()
            relay.wait()
        samba.terminate()
        samba.wait()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
