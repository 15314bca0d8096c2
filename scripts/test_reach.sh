#!/usr/bin/env bash
# Measures what the end-to-end tests (those that start the real program) add: builds a
# tree with gcov counters, runs every other test together and each end-to-end test on
# its own, and prints for each end-to-end test how many lines of the program it alone
# reaches, with the files they are in, and how many lines only end-to-end tests reach.
# A test that reaches nothing of its own is a candidate for going, unless something it
# checks is checked nowhere else. Needs root where the Samba tests do; takes ~15 minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
command -v gcovr >/dev/null || apt-get install -y gcovr >/dev/null
tree=$PWD/build-coverage
results=$tree/reach
cmake -S . -B "$tree" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  "-DCMAKE_CXX_FLAGS_DEBUG=-O0 --coverage -fprofile-update=atomic" -DCMAKE_EXE_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$tree"
rm -rf "$results" && mkdir -p "$results"
end_to_end='^(CallProcessTest|IntercomProcessTest|DesktopServicesTest|WindowTest|SettingsTest|HotKeyTest|SetupDialogTest|SetupProcessTest)\.'

# Runs the tests that `ctest` selects with its arguments $2...; keeps what they reached
# as $results/$1.json.
measure() {
  local name=$1
  shift
  find "$tree" -name '*.gcda' -delete
  (cd "$tree" && ctest "$@" --timeout 300 >"$results/$name.log" 2>&1) ||
    echo "test_reach: $name failed; see $results/$name.log" >&2
  gcovr -r "$PWD" "$tree" --json "$results/$name.json" -e '.*_test\.cc' \
    -e '.*_test_util\.h' -e '.*benchmark.*' -e '.*fuzz.*' -e '.*stand_in_desktop_services.*' \
    -e '.*_autogen.*' >/dev/null 2>&1
}

measure "unit tests" -E "$end_to_end" --parallel 2
for test in $(cd "$tree" && ctest -N | awk '/Test +#/ {print $3}' | grep -E "$end_to_end"); do
  measure "$test" -R "^$test\$"
done

python3 - "$results" <<'EOF'
import collections, glob, json, os, sys

reached = {}
for path in glob.glob(os.path.join(sys.argv[1], '*.json')):
    report = json.load(open(path))
    reached[os.path.basename(path)[:-5]] = {
        (f['file'], line['line_number'])
        for f in report['files'] for line in f['lines'] if line['count'] > 0}
end_to_end = sorted(name for name in reached if name != 'unit tests')
for name in end_to_end:
    others = set().union(*(lines for other, lines in reached.items() if other != name))
    own = collections.Counter(file for file, _ in reached[name] - others)
    where = ', '.join(f'{file} {count}' for file, count in own.most_common(4))
    print(f'{sum(own.values()):5d}  {name}  {where}')
by_end_to_end = set().union(*(reached[name] for name in end_to_end))
print(f'{len(by_end_to_end - reached["unit tests"]):5d}  lines only end-to-end tests reach, '
      f'of {len(set().union(*reached.values()))} lines that the tests reach')
EOF
