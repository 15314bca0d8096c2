#!/usr/bin/env bash
# Builds an optimised copy and runs every benchmark, printing their figures.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build-bench
for benchmark in build-bench/*/parlavox_*_benchmark; do
  "$benchmark"
done
build-bench/audio/parlavox_sound_engine_measure 20
scripts/measure_idle.py --binary build-bench/parlavox --seconds 60
# Mouth-to-ear through local folders, two copies on two private sound servers.
scripts/measure_calls.py --binary build-bench/parlavox --calls 20 --idle-seconds 10 --call-seconds 10
# Across a real Samba server on 127.0.0.1:445 (needs root and a free port 445).
if [ "$(id -u)" -eq 0 ]; then
  scripts/measure_network.py --binary build-bench/parlavox --calls 10
else
  echo "bench: the office-network figures need root (smbd on port 445); skipped" >&2
fi
