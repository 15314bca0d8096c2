#!/usr/bin/env python3
"""Checks that the layers' arrows go one way: a folder's code includes only its own
headers and those of the layers below it (tests may also use the test helpers of the
layers they drive). Prints each include that runs back up and exits 1 when there is one."""
import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
# Each layer and the layers it may include, besides itself.
BELOW = {
    "util": [],
    "audio": ["util"],
    "words": ["util"],
    "settings": ["words", "audio", "util"],
    "core": ["settings", "words", "audio", "util"],
    "share": ["core", "settings", "words", "audio", "util"],
    "platform": ["core", "settings", "words", "audio", "util"],
    "control": ["core", "settings", "words", "audio", "util"],
    "setup": ["platform", "control", "settings", "words", "util"],
    "ui": ["setup", "platform", "share", "core", "settings", "words", "audio", "util"],
    "app": ["ui", "setup", "control", "platform", "share", "core", "settings", "words", "audio",
            "util"],
}
# Tests that drive the real program use the process-test helpers of the root.
TEST_EXTRA = ["app", "audio"]

wrong = []
for layer, below in BELOW.items():
    folder = os.path.join(ROOT, layer)
    for name in sorted(os.listdir(folder)):
        if not name.endswith((".h", ".cc")):
            continue
        allowed = set(below) | {layer}
        if name.endswith(("_test.cc", "_test_util.h")):
            allowed |= set(TEST_EXTRA)
        with open(os.path.join(folder, name), encoding="utf-8") as source:
            for number, line in enumerate(source, 1):
                match = re.match(r'#include "([a-z]+)/', line)
                if match and match.group(1) not in allowed:
                    wrong.append(f"{layer}/{name}:{number}: includes {match.group(1)}/")
for line in wrong:
    print(line)
sys.exit(1 if wrong else 0)
