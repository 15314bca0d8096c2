#!/usr/bin/env python3
"""Runs clang's thread-safety analysis (-Wthread-safety, as errors) over every source
the build in the given folder compiles, using its compile_commands.json; nothing is
built. Exits 1 when the analysis finds a lock not held where the code says it must be."""
import concurrent.futures
import json
import os
import shlex
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
build = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build"))
with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as listing:
    entries = json.load(listing)


def check(entry):
    words = shlex.split(entry["command"])
    kept = []
    skip_next = False
    for word in words[1:]:
        if skip_next:
            skip_next = False
            continue
        if word == "-o":
            skip_next = True
            continue
        if word in ("-c",) or word.startswith(("-W", "-fsanitize")):
            continue
        kept.append(word)
    command = ["clang++", "-fsyntax-only", "-Wthread-safety", "-Werror=thread-safety",
               "-Wno-unknown-warning-option", *kept]
    run = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True)
    return entry["file"], run.returncode, run.stderr


failed = False
with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count() or 2) as pool:
    for source, code, errors in pool.map(check, entries):
        if code != 0:
            failed = True
            print(f"{source}:\n{errors}")
print(f"thread-safety analysis: {len(entries)} sources, {'errors' if failed else 'clean'}")
sys.exit(1 if failed else 0)
