#!/usr/bin/env bash
# Installs what is needed, builds Parlavox into build/ and runs it with the given arguments.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPARLAVOX_TESTS=OFF >/dev/null
cmake --build build
exec build/parlavox "$@"
