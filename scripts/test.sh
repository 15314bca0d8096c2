#!/usr/bin/env bash
# Installs what is needed, checks the formatting and that includes go only down the
# layers, then builds and runs every test three times: as released (then clang's
# thread-safety analysis runs over the same sources), under AddressSanitizer and
# UndefinedBehaviorSanitizer, and under ThreadSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

git ls-files '*.cc' '*.h' | xargs clang-format --dry-run --Werror
scripts/check_layers.py

run_suite() {
  local folder=$1
  shift
  cmake -S . -B "$folder" -G Ninja "$@" >/dev/null
  cmake --build "$folder"
  (cd "$folder" && ctest --output-on-failure --parallel 2 --timeout 300)
}

run_suite build -DCMAKE_BUILD_TYPE=RelWithDebInfo
scripts/check_thread_safety.py build
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  LSAN_OPTIONS="suppressions=$PWD/scripts/lsan.supp" \
  run_suite build-sanitize -DCMAKE_BUILD_TYPE=Debug -DPARLAVOX_SANITIZE=ON
TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/scripts/tsan.supp" \
  run_suite build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPARLAVOX_TSAN=ON
