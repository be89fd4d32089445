#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite twice:
# a normal build and an AddressSanitizer + UndefinedBehaviorSanitizer build.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh"
jobs="$(nproc)"

echo "=== normal build ==="
"$root/scripts/build.sh" "$root/build-test" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKIV_SANITIZE=OFF
ctest --test-dir "$root/build-test" --output-on-failure --parallel "$jobs" </dev/null

echo "=== sanitizer build (address, undefined) ==="
"$root/scripts/build.sh" "$root/build-sanitize" -DCMAKE_BUILD_TYPE=Debug -DKIV_SANITIZE=ON -DKIV_BUILD_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$root/build-sanitize" --output-on-failure --parallel "$jobs" </dev/null
