#!/usr/bin/env bash
# Installs what is needed, checks the formatting and that includes go only down the
# layers, then builds and runs every test twice with clang, whose thread-safety analysis
# checks the lock annotations as errors while it compiles: under AddressSanitizer and
# UndefinedBehaviorSanitizer, and under ThreadSanitizer. (Clang builds these trees in
# about 60 % of GCC's time; the program's own build uses the system's compiler.) The
# second tree is built at the lowest priority from the start, on what the first one's
# build and tests leave of the processors.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh --tests

git ls-files '*.cc' '*.h' | xargs clang-format --dry-run --Werror
scripts/check_layers.py

configure() {
  local folder=$1
  shift
  cmake -S . -B "$folder" -G Ninja "$@" >/dev/null
}
# Two at a time: the speech tests judge what a sound server heard, and under the
# sanitizers three at a time on two cores starve them. Arguments after the tree go to
# ctest.
run_tests() {
  local tree=$1
  shift
  (cd "$tree" && ctest --output-on-failure --parallel 2 --timeout 300 "$@")
}

# Line tables are all that the sanitizers' reports need, and they build much faster
# than full debug information; so does the ThreadSanitizer tree at -O1.
CXX=clang++ configure build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG" -DPARLAVOX_TSAN=ON
# Whenever this script ends, that build ends too, its compilers with it. (Not in a
# session of its own: the kernel would share the processors between sessions, whatever
# the priority.)
stop_tree() {
  local children child
  children=$(pgrep -P "$1" || true)
  kill "$1" 2>/dev/null || true  # first, so that it starts no more
  for child in $children; do stop_tree "$child"; done
}
nice -n 19 cmake --build build-tsan >build-tsan.log 2>&1 &
tsan_build=$!
trap 'stop_tree $tsan_build' EXIT
CXX=clang++ configure build-sanitize -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-g1 \
  -DPARLAVOX_SANITIZE=ON
cmake --build build-sanitize

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  LSAN_OPTIONS="suppressions=$PWD/scripts/lsan.supp"
run_tests build-sanitize
# Sound tests once more on PipeWire's PulseAudio server, which Debian's desktops run (a
# private one for each test): levels, the end of a message, a message played while it
# is written (judged there by the length heard), a server that restarts or hangs, a
# message heard whole at its level on a quiet desktop, speech between two copies (whose
# breaks are judged on PulseAudio only). Those that time samples to the
# millisecond stay PulseAudio's: PipeWire resamples what it plays and, on a loaded
# machine, drops or repeats a period now and then. A test
# that fails on PipeWire is run again, up to three times in all; the faults these tests
# guard against fail every time.
PARLAVOX_SOUND_SERVER=pipewire run_tests build-sanitize --repeat until-pass:3 -R \
  '^(MixerControlTest|SoundRecorderTest\.(WaitsForSound|Survives)|SoundPlayerTest\.(PlaysAFile|AMessageGoesOn|AHung|Refuses)|CallProcessTest\.(SpeechReaches|AMessageGrowing))'
if ! wait $tsan_build; then
  cat build-tsan.log
  exit 1
fi
TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/scripts/tsan.supp" \
  run_tests build-tsan
