#!/usr/bin/env bash
# Installs, with apt-get, whatever this project needs to build and test that
# the machine does not have yet. Safe to run again: it installs nothing when
# everything is present.
set -euo pipefail

packages=(
  build-essential g++ cmake ninja-build pkg-config
  libicu-dev libsqlite3-dev libsodium-dev libffi-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  g++-multilib
  clang
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq "${missing[@]}"
fi
