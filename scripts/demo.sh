#!/usr/bin/env bash
# The main job: installs what is missing, builds everything and runs the demo.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh"
"$root/scripts/build.sh" "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
echo
echo "=== kiv demo ==="
"$root/build/kiv_demo"
