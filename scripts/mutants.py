#!/usr/bin/env python3
"""Plants faults, one at a time, in the code of one layer and runs that layer's unit
tests against each: which tests fail, and which fault only one test catches.

  scripts/mutants.py core [--count 300] [--filter GTEST_FILTER] [--files REGEX]

A fault is one small change to one line: a comparison turned round or loosened, && and
|| swapped, true and false swapped, a +1 made -1, a ! dropped, or a statement left out.
The faults are planted in a clone of the last commit (build-mutants/src), never in the
working tree. It prints, for each test, how many faults it alone catches and how many
it catches in all, then the faults that none of the layer's tests catches (some are
caught by the tests of a layer above or the end-to-end tests; some change nothing that
matters). A test that alone catches
nothing is a candidate for going, once its checks are read: the faults are a sample.
"""
import argparse
import collections
import ctypes
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys

PR_SET_CHILD_SUBREAPER = 36
SWAPS = [(' == ', ' != '), (' != ', ' == '), (' < ', ' <= '), (' > ', ' >= '),
         (' <= ', ' < '), (' >= ', ' > '), (' && ', ' || '), (' || ', ' && '),
         ('true', 'false'), ('false', 'true'), (' + 1', ' - 1'), (' - 1', ' + 1'),
         ('(!', '(')]
# A statement worth leaving out: a call or an assignment, not a declaration or a jump.
STATEMENT = re.compile(r'^\s+[A-Za-z_][\w:.\->\[\]]*\s*(\(|=|\+=|-=).*;\s*$')
NOT_A_STATEMENT = re.compile(
    r'^\s*(return|case|default|const|auto|static|constexpr|using|namespace|std::\w+<|'
    r'(u?int\d*_t|int|bool|size_t|double|char)\b)')


def faults(source, layer):
    found = []
    folder = os.path.join(source, layer)
    for name in sorted(os.listdir(folder)):
        if not name.endswith('.cc') or re.search(r'_test|fuzz|bench', name):
            continue
        path = os.path.join(layer, name)
        for number, line in enumerate(open(os.path.join(source, path)).read().split('\n')):
            code = line.split('//')[0]
            if code.strip().startswith(('#', '*')):
                continue
            for old, new in SWAPS:
                if old in code:
                    found.append((path, number, line.replace(old, new, 1),
                                  f'{old.strip()} -> {new.strip()}'))
            if STATEMENT.match(code) and not NOT_A_STATEMENT.match(code):
                found.append((path, number, '', 'left out'))
    return found


def descendants(pid):
    """The processes below `pid`, each followed by its own."""
    found = []
    try:
        tasks = os.listdir(f'/proc/{pid}/task')
    except OSError:  # gone meanwhile
        return found
    for task in tasks:
        try:
            children = open(f'/proc/{pid}/task/{task}/children').read().split()
        except OSError:
            continue
        for child in map(int, children):
            found += [child] + descendants(child)
    return found


def end_leftovers():
    """Ends what the tests left running: the servers of a test that crashed or hung, which
    would hold their ports for the faults after. This script is their subreaper."""
    for pid in descendants(os.getpid()):
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
    while True:
        try:
            os.waitpid(-1, 0)
        except ChildProcessError:
            return


def failing_tests(binary, test_filter, report, timeout):
    """The tests that fail; None when the binary crashed or hung."""
    if os.path.exists(report):
        os.remove(report)
    tests = subprocess.Popen([binary, f'--gtest_filter={test_filter}',
                              f'--gtest_output=json:{report}'], stdout=subprocess.DEVNULL,
                             stderr=subprocess.DEVNULL, cwd=os.path.dirname(binary))
    try:
        tests.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        tests.kill()
        tests.wait()
        return None
    finally:
        end_leftovers()
    if not os.path.exists(report):
        return None
    return {f"{suite['name']}.{test['name']}"
            for suite in json.load(open(report))['testsuites']
            for test in suite['testsuite'] if test.get('failures')}


def main():
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('layer', help='a folder of the code: core, settings, share, ...')
    parser.add_argument('--count', type=int, default=300, help='faults to plant at most')
    parser.add_argument('--filter', default='*', help='the tests to run (gtest filter)')
    parser.add_argument('--files', default='',
                        help='plant faults only in the files whose path matches this pattern')
    parser.add_argument('--target', default='',
                        help="the layer's tests to run, where not parlavox_<layer>_tests")
    parser.add_argument('--timeout', type=int, default=60,
                        help='seconds after which the tests count as hung')
    arguments = parser.parse_args()

    top = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    subprocess.run([os.path.join(top, 'scripts/setup.sh')], check=True)
    work = os.path.join(top, 'build-mutants')
    source, tree = os.path.join(work, 'src'), os.path.join(work, 'build')
    shutil.rmtree(source, ignore_errors=True)
    subprocess.run(['git', 'clone', '-q', top, source], check=True)
    subprocess.run(['cmake', '-S', source, '-B', tree, '-G', 'Ninja', '-DCMAKE_BUILD_TYPE=Debug',
                    '-DCMAKE_CXX_FLAGS_DEBUG=-O0'], check=True, capture_output=True)
    target = arguments.target or f'parlavox_{arguments.layer}_tests'
    binary = os.path.join(tree, arguments.layer, target)
    build = ['cmake', '--build', tree, '--target', target]
    subprocess.run(build, check=True, capture_output=True)

    planted = [fault for fault in faults(source, arguments.layer)
               if re.search(arguments.files, fault[0])]
    random.seed(1)
    planted = random.sample(planted, min(arguments.count, len(planted)))
    caught = {}
    for index, (path, number, changed, what) in enumerate(planted):
        original = open(os.path.join(source, path)).read()
        lines = original.split('\n')
        lines[number] = changed
        open(os.path.join(source, path), 'w').write('\n'.join(lines))
        try:
            if subprocess.run(build, capture_output=True).returncode == 0:
                failed = failing_tests(binary, arguments.filter, os.path.join(work, 'tests.json'),
                                       arguments.timeout)
                caught[f'{path}:{number + 1} {what}'] = failed
        finally:
            open(os.path.join(source, path), 'w').write(original)
        print(f'\r{index + 1}/{len(planted)} faults planted', end='', file=sys.stderr)
    print(file=sys.stderr)
    subprocess.run(build, capture_output=True)

    judged = {fault: tests for fault, tests in caught.items() if tests is not None}
    alone = collections.Counter(next(iter(tests)) for tests in judged.values() if len(tests) == 1)
    in_all = collections.Counter(test for tests in judged.values() for test in tests)
    listing = subprocess.run([binary, '--gtest_list_tests', f'--gtest_filter={arguments.filter}'],
                             capture_output=True, text=True).stdout
    suite = ''
    for line in listing.splitlines():
        if not line.startswith(' '):
            suite = line.strip()
            continue
        test = suite + line.split()[0]
        print(f'{alone[test]:4d} alone {in_all[test]:4d} in all  {test}')
    missed = sorted(fault for fault, tests in judged.items() if not tests)
    print(f'{len(caught)} faults built, {len(caught) - len(judged)} crashed or hung the tests, '
          f'{len(missed)} caught by none of its tests:')
    for fault in missed:
        print('  ' + fault)


if __name__ == '__main__':
    main()
