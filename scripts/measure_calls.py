#!/usr/bin/env python3
"""Measures two copies of Parlavox talking to each other on this machine.

Each copy gets a home and a private PulseAudio server of its own (null sinks, no sound
card). A tone burst is played into the caller's microphone sink during a call; the
delay from the tone entering the caller's input device (seen on its monitor) to the
tone leaving the callee's output device (seen on that monitor) is the mouth-to-ear
latency. Also reports CPU and resident memory of each copy while idle and during a call.

    scripts/measure_calls.py [--calls 20] [--idle-seconds 60] [--call-seconds 20]

Run it after building (scripts/run.sh or scripts/bench.sh build build/parlavox).
"""
import argparse
import os
import shutil
import statistics
import struct
import subprocess
import tempfile
import threading
import time

RATE = 11025
CHUNK = 441  # frames a read: 40 ms
ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PARLAVOX = os.path.join(ROOT, "build", "parlavox")


def start_server(folder):
    os.makedirs(folder, exist_ok=True)
    socket = os.path.join(folder, "native")
    env = {"HOME": folder, "XDG_RUNTIME_DIR": folder, "PATH": "/usr/bin:/bin"}
    process = subprocess.Popen(
        ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=false",
         "--disable-shm=true", "-L", f"module-native-protocol-unix socket={socket} auth-anonymous=1",
         "-L", "module-null-sink sink_name=speaker rate=11025 channels=1 norewinds=1",
         "-L", "module-null-sink sink_name=mic rate=11025 channels=1 norewinds=1",
         "--log-target=file:/dev/null"], env=env)
    address = "unix:" + socket
    for _ in range(200):
        if subprocess.run(["pactl", "info"], env={"PULSE_SERVER": address},
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0:
            return process, address
        time.sleep(0.05)
    raise SystemExit("the sound server did not start")


class Listener(threading.Thread):
    """Records one source and remembers when each 40 ms chunk arrived."""

    def __init__(self, address, source):
        super().__init__(daemon=True)
        self.chunks = []  # (arrival time, peak, samples)
        self.process = subprocess.Popen(
            ["parec", f"--device={source}", "--raw", "--format=s16le", f"--rate={RATE}",
             "--channels=1", "--latency-msec=10"],
            env={"PULSE_SERVER": address, "HOME": "/tmp"}, stdout=subprocess.PIPE)
        self.start()

    def run(self):
        while True:
            data = self.process.stdout.read(CHUNK * 2)
            if not data:
                return
            samples = struct.unpack(f"<{len(data) // 2}h", data)
            self.chunks.append((time.monotonic(), max(abs(s) for s in samples), samples))

    def onset_after(self, start, limit=8.0):
        deadline = time.monotonic() + limit
        while time.monotonic() < deadline:
            for arrived, peak, _ in list(self.chunks):
                if arrived > start and peak > 2000:
                    return arrived
            time.sleep(0.01)
        return None

    def loud_span(self, start, end):
        """Seconds from the first to the last loud sample that arrived between `start` and
        `end`: a tone heard with breaks in it lasts longer than it was spoken."""
        samples = [s for arrived, _, chunk in list(self.chunks) if start < arrived < end
                   for s in chunk]
        loud = [i for i, s in enumerate(samples) if abs(s) > 2000]
        return (loud[-1] - loud[0] + 1) / RATE if loud else 0

    def stop(self):
        self.process.terminate()


class Copy:
    def __init__(self, folder, address):
        self.home = os.path.join(folder, "home")
        self.data = os.path.join(self.home, ".local", "share", "parlavox")
        self.inward = os.path.join(self.data, "Incoming")
        os.makedirs(self.inward, exist_ok=True)
        runtime = os.path.join(folder, "run")
        os.makedirs(runtime, mode=0o700, exist_ok=True)
        self.env = {"HOME": self.home, "XDG_RUNTIME_DIR": runtime, "PULSE_SERVER": address,
                    "XDG_CONFIG_DIRS": os.path.join(folder, "etc"), "PATH": "/usr/bin:/bin"}
        self.process = None

    def settings(self, other_inward):
        with open(os.path.join(self.data, "settings.ini"), "w") as ini:
            ini.write("[settings]\nsoundoutdevice=1\nsoundindevice=2\n"
                      f"[users]\nfoldercount=1\nfolder0={other_inward}\n")

    def start(self):
        self.process = subprocess.Popen([PARLAVOX, "/service"], env=self.env,
                                        stderr=subprocess.DEVNULL)

    def control(self, *arguments):
        return subprocess.run([PARLAVOX, *arguments], env=self.env, capture_output=True,
                              text=True).returncode

    def inbox_empty(self):
        return not any(name.endswith(".wav") for name in os.listdir(self.inward))

    def usage(self):
        """CPU seconds so far and resident memory in MiB."""
        with open(f"/proc/{self.process.pid}/stat") as stat:
            fields = stat.read().rsplit(")", 1)[1].split()
        cpu = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
        with open(f"/proc/{self.process.pid}/status") as status:
            rss = next(int(line.split()[1]) for line in status if line.startswith("VmRSS:"))
        return cpu, rss / 1024


def wait_until(condition, limit):
    deadline = time.monotonic() + limit
    while time.monotonic() < deadline:
        if condition():
            return True
        time.sleep(0.05)
    return False


def mouth_to_ear(folder, servers, caller, calls, after_each):
    """Plays a tone of 1.5 s into the caller's microphone in each of `calls` calls;
    returns the mouth-to-ear delay of each call that was heard, and by how much longer
    it was heard than spoken (the breaks playback inserted), both in ms. `after_each`
    waits between calls, until the callee has played the message."""
    tone = os.path.join(folder, "tone.wav")
    subprocess.run(["sox", "-n", "-r", str(RATE), "-c", "1", "-b", "16", tone,
                    "synth", "1.5", "sine", "800"], check=True)
    mouth = Listener(servers[0][1], "mic.monitor")
    ear = Listener(servers[1][1], "speaker.monitor")
    try:
        time.sleep(0.5)
        latencies, breaks = [], []
        for _ in range(calls):
            caller.control("--call", "0")
            time.sleep(0.3)
            start = time.monotonic()
            subprocess.run(["paplay", "--device=mic", tone], env={"PULSE_SERVER": servers[0][1]})
            time.sleep(0.2)
            caller.control("--hangup")
            spoken, heard = mouth.onset_after(start), ear.onset_after(start)
            after_each()
            if spoken is not None and heard is not None:
                latencies.append(1000 * (heard - spoken))
                end = time.monotonic()
                breaks.append(1000 * (ear.loud_span(start, end) - mouth.loud_span(start, end)))
        return latencies, breaks
    finally:
        mouth.stop()
        ear.stop()


def measure_usage(copies, seconds, during=None):
    before = [copy.usage()[0] for copy in copies]
    peak_rss = [0.0] * len(copies)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        for i, copy in enumerate(copies):
            peak_rss[i] = max(peak_rss[i], copy.usage()[1])
        time.sleep(0.5)
    return [(100 * (copy.usage()[0] - before[i]) / seconds, peak_rss[i])
            for i, copy in enumerate(copies)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--calls", type=int, default=20)
    parser.add_argument("--idle-seconds", type=float, default=60)
    parser.add_argument("--call-seconds", type=float, default=20)
    parser.add_argument("--binary", help="the program to measure (default: build/parlavox)")
    options = parser.parse_args()
    global PARLAVOX
    if options.binary:
        PARLAVOX = os.path.abspath(options.binary)
    if not os.path.exists(PARLAVOX):
        raise SystemExit(f"build the program first: {PARLAVOX} is missing")

    folder = tempfile.mkdtemp(prefix="parlavox-measure-")
    servers, copies = [], []
    try:
        for name in ("caller", "callee"):
            servers.append(start_server(os.path.join(folder, name + "-pulse")))
            copies.append(Copy(os.path.join(folder, name), servers[-1][1]))
        caller, callee = copies
        caller.settings(callee.inward)
        callee.settings(caller.inward)
        for copy in copies:
            copy.start()
        if not wait_until(lambda: all(c.control("--status") == 0 for c in copies), 10):
            raise SystemExit("the copies did not start")
        time.sleep(6)  # one presence poll, so each sees the other on

        latencies, breaks = mouth_to_ear(
            folder, servers, caller, options.calls,
            lambda: (wait_until(callee.inbox_empty, 10), time.sleep(0.5)))
        if latencies:
            print(f"mouth to ear: {len(latencies)} calls, median {statistics.median(latencies):.0f} ms, "
                  f"worst {max(latencies):.0f} ms, best {min(latencies):.0f} ms")
            print(f"breaks in what was heard: {sum(b > 5 for b in breaks)} of {len(breaks)} calls "
                  f"broke off, for {max(breaks):.0f} ms at most")
        else:
            print("mouth to ear: no call was heard")

        for (cpu, rss), name in zip(measure_usage(copies, options.idle_seconds), ("caller", "callee")):
            print(f"idle {options.idle_seconds:.0f} s, {name}: {cpu:.2f} % of a core, {rss:.1f} MiB resident")
        long_tone = os.path.join(folder, "long.wav")
        subprocess.run(["sox", "-n", "-r", str(RATE), "-c", "1", "-b", "16", long_tone, "synth",
                        str(options.call_seconds), "sine", "300-900"], check=True)
        caller.control("--call", "0")
        speaking = subprocess.Popen(["paplay", "--device=mic", long_tone],
                                    env={"PULSE_SERVER": servers[0][1]})
        usage = measure_usage(copies, options.call_seconds)
        speaking.wait()
        caller.control("--hangup")
        for (cpu, rss), name in zip(usage, ("caller", "callee")):
            print(f"during a call of {options.call_seconds:.0f} s, {name}: {cpu:.2f} % of a core, "
                  f"{rss:.1f} MiB resident")
    finally:
        for copy in copies:
            if copy.process:
                copy.control("--quit")
                copy.process.wait(10)
        for process, _ in servers:
            process.kill()
            process.wait()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
