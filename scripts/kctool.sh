#!/usr/bin/env bash
# The main job: kctool, the command-line keychain tool, against the user's
# keychains (the login keychain is made on first use). The first run installs
# what is missing and builds it; later runs start at once.
#
#   scripts/kctool.sh help
#   scripts/kctool.sh add-generic-password -a me -s example -w
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/release"
if [ ! -x "$build/bin/kctool" ] || [ ! -f "$build/lib/libKeychainManagerZNQ.so" ]; then
  "$root/scripts/install-deps.sh" >&2
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKC_BUILD_TESTS=OFF \
        -DKC_BUILD_BENCH=OFF >/dev/null
  cmake --build "$build" -j "$(nproc)" --target kctool >&2
fi
exec "$build/bin/kctool" "$@"
