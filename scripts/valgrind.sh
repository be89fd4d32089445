#!/usr/bin/env bash
# Runs every test program of a normal build under valgrind's memcheck, one
# after the other, and exits non-zero when any of them fails or valgrind
# reports an error or a leak. Forked children are checked too; programs they
# exec are not (valgrind would change how a failing execve looks).
# Usage: scripts/valgrind.sh [BUILD_DIR]   (default: build-valgrind)
set -uo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build-valgrind}"
"$root/scripts/setup.sh" valgrind
"$root/scripts/build.sh" "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKIV_BUILD_BENCH=OFF || exit 2
# Absolute, because each program runs from its own folder.
build="$(cd "$build" && pwd)"
status=0
for program in "$build"/tests/kiv_test_*; do
    [[ -x "$program" && -f "$program" ]] || continue
    log="$build/valgrind-$(basename "$program").log"
    (cd "$build/tests" && valgrind --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
        --suppressions="$root/scripts/valgrind.supp" -q "$program" </dev/null >"$log" 2>&1)
    result=$?
    printf '%-28s %s\n' "$(basename "$program")" "$([[ $result -eq 0 ]] && echo clean || echo "FAILED ($result), see $log")"
    [[ $result -eq 0 ]] || status=1
done
exit "$status"
