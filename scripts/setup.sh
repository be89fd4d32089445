#!/usr/bin/env bash
# Installs the Debian packages kiv needs to build and test, only when missing.
# Extra package names given as arguments are installed the same way.
set -euo pipefail

packages=(cmake ninja-build g++ make pkg-config libc-dev-bin libicu-dev libgtest-dev libgmock-dev libbenchmark-dev libspdlog-dev libinih-dev "$@")
missing=()
for pkg in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$pkg")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "kiv: installing missing packages: ${missing[*]}"
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update
  $SUDO apt-get install -y "${missing[@]}"
fi
