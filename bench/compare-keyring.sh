#!/usr/bin/env bash
# Stores and looks up the same N generic passwords through libsecret (the
# desktop keyring over D-Bus) and through this project's whole stack, and
# prints the medians and their ratios. Everything runs in a private folder
# with a private D-Bus session and a private keyring; nothing of the user's
# is touched. The private keyring is made with a password of its own, since
# the keyring asks through a dialog for a collection without one.
#
#   bench/compare-keyring.sh [N ...]        (default: 1000 3000)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(1000 3000)

packages=(gnome-keyring libsecret-1-dev dbus dbus-x11 pkg-config gcc)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}" >/dev/null
fi
"$root/scripts/install-deps.sh" >/dev/null

build="$root/build/bench"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKC_BUILD_TESTS=OFF -DKC_BUILD_BENCH=ON >/dev/null
cmake --build "$build" -j "$(nproc)" --target stack_timing >/dev/null

work="$(mktemp -d /tmp/kc-keyring-compare-XXXXXX)"
trap 'rm -rf "$work"' EXIT
gcc -O2 -o "$work/keyring_timing" "$root/bench/keyring_timing.c" $(pkg-config --cflags --libs libsecret-1)

printf '%-8s %14s %14s %12s %14s %14s %12s\n' N "keyring store" "stack store" ratio "keyring find" "stack find" ratio
for n in "${sizes[@]}"; do
  home="$work/home-$n"
  mkdir -p "$home"
  keyring=$(env -i PATH="$PATH" HOME="$home" XDG_DATA_HOME="$home/data" XDG_RUNTIME_DIR="$home" \
    dbus-run-session -- sh -c 'printf "bench" | gnome-keyring-daemon --unlock --components=secrets --daemonize \
                                 >/dev/null 2>&1; sleep 1; "$0" "$1"' "$work/keyring_timing" "$n" 2>/dev/null)
  stack=$(env -i PATH="$PATH" HOME="$home" KEYCHAIN_HOME="$home/keychains" KEYCHAIN_KDF_PROFILE=minimal \
    "$build/bin/stack_timing" "$n" "$home/keychains/compare.keychain")
  read -r _ ks _ kl <<<"$keyring"
  read -r _ ss _ sl <<<"$stack"
  awk -v n="$n" -v ks="$ks" -v ss="$ss" -v kl="$kl" -v sl="$sl" 'BEGIN {
    printf "%-8d %11.1f us %11.1f us %11.0fx %11.1f us %11.1f us %11.0fx\n", n, ks, ss, ks / ss, kl, sl, kl / sl }'
done
