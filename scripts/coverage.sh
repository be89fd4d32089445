#!/usr/bin/env bash
# Builds kiv with line coverage, runs the whole test suite and prints the
# line coverage of each subsystem folder. Children started by the tests write
# their counts too (the test support flushes them before a child ends).
# Usage: scripts/coverage.sh [BUILD_DIR]   (default: build-coverage)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build-coverage}"
"$root/scripts/setup.sh" gcovr
"$root/scripts/build.sh" "$build" -DCMAKE_BUILD_TYPE=Debug -DKIV_COVERAGE=ON -DKIV_BUILD_BENCH=OFF
find "$build" -name '*.gcda' -delete
status=0
ctest --test-dir "$build" --parallel "$(nproc)" </dev/null >"$build/coverage-ctest.log" || status=$?
tail -n 3 "$build/coverage-ctest.log"
# Tests that run threads race on the counters; the few lines whose counts
# come out inconsistent (negative branch counts) are skipped, not fatal.
gcovr --root "$root" --object-directory "$build" --gcov-ignore-parse-errors \
  --filter "$root/(foundation|util|filesys|process|nls|msgcat|inifile|conui|trace)/" \
  --json "$build/coverage.json" >/dev/null
python3 - "$build/coverage.json" <<'PY'
import json, sys
totals = {}
for entry in json.load(open(sys.argv[1]))["files"]:
    folder = entry["file"].split("/")[0]
    lines = [l for l in entry["lines"] if not l.get("gcovr/noncode")]
    seen, covered = totals.get(folder, (0, 0))
    totals[folder] = (seen + len(lines), covered + sum(1 for l in lines if l["count"] > 0))
print(f"{'subsystem':<12}{'lines':>8}{'covered':>9}{'coverage':>10}")
all_lines = all_covered = 0
for folder in sorted(totals):
    seen, covered = totals[folder]
    all_lines += seen
    all_covered += covered
    print(f"{folder:<12}{seen:>8}{covered:>9}{100.0 * covered / seen:>9.1f}%")
print(f"{'total':<12}{all_lines:>8}{all_covered:>9}{100.0 * all_covered / all_lines:>9.1f}%")
PY
exit "$status"
