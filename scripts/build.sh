#!/usr/bin/env bash
# Configures and builds kiv into the given build directory.
# Usage: scripts/build.sh BUILD_DIR [extra cmake arguments...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$1"
shift
cmake -S "$root" -B "$build" -G Ninja "$@"
cmake --build "$build" --parallel "$(nproc)"
