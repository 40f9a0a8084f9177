#!/usr/bin/env bash
# The main job: installs what is missing, builds everything, and runs the demo
# host program against the user's default keychain (created on first use).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKC_BUILD_TESTS=OFF -DKC_BUILD_BENCH=OFF >/dev/null
cmake --build build/release -j "$(nproc)"
exec build/release/bin/kcdemo "$@"
