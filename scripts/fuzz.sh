#!/usr/bin/env bash
# Builds the WAVE reader's fuzzer with clang and runs it for the given number of seconds
# (default 600) on a working copy of the seed corpus. Inputs that crash are left in
# build-fuzz/ as crash-*; add each to audio/testdata/wave_corpus so the tests replay it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
dpkg-query -W clang libclang-rt-14-dev >/dev/null 2>&1 ||
  { apt-get update -qq && apt-get install -y -qq clang libclang-rt-14-dev >/dev/null; }
cmake -S . -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DPARLAVOX_FUZZ=ON -DPARLAVOX_TESTS=OFF >/dev/null
cmake --build build-fuzz --target wave_file_fuzzer
mkdir -p build-fuzz/corpus
cd build-fuzz
./audio/wave_file_fuzzer corpus ../audio/testdata/wave_corpus \
  -max_total_time="${1:-600}" -timeout=5 -malloc_limit_mb=64 -rss_limit_mb=1024 \
  -max_len=16384 -print_final_stats=1
