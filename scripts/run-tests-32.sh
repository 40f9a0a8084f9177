#!/usr/bin/env bash
# The 32-bit build: the frameworks, the host runtime, the plug-in, the tools
# and their tests built with -m32 against Debian's i386 packages, and every
# test run, so that the original record sizes and offsets are proven at run
# time. Debian's i386 libraries are fetched by name (apt-get download) and
# unpacked into build/i386-root: nothing is installed for the whole machine,
# so they never contend with its own packages.
#
#   scripts/run-tests-32.sh            # configure, build, run every test
#   scripts/run-tests-32.sh -R Fuzz    # extra arguments go to ctest
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh  # the compilers and g++-multilib

root=$PWD/build/i386-root
lib=$root/usr/lib/i386-linux-gnu
packages=(libsqlite3-0 libsqlite3-dev libsodium23 libsodium-dev libicu72 libicu-dev libffi8 libffi-dev
          libgtest-dev libgmock-dev)
if [ ! -f "$root/.complete" ]; then
  echo "=== i386 libraries into $root"
  if ! dpkg --print-foreign-architectures | grep -qx i386; then dpkg --add-architecture i386; fi
  # An index of the security archive that fails to download leaves the
  # main archive's, which is enough here.
  apt-get update -qq || true
  rm -rf "$root"
  mkdir -p "$root/debs"
  (cd "$root/debs" && apt-get download -qq "${packages[@]/%/:i386}")
  for deb in "$root"/debs/*.deb; do dpkg-deb -x "$deb" "$root"; done
  touch "$root/.complete"
fi

export PKG_CONFIG_LIBDIR=$lib/pkgconfig:$root/usr/share/pkgconfig
export PKG_CONFIG_SYSROOT_DIR=$root
export LD_LIBRARY_PATH=$lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
# Debian's .pc files leave the multiarch folders to the compiler's own search
# path, which does not reach into the unpacked root.
flags="-m32 -isystem $root/usr/include/i386-linux-gnu"
link="-m32 -L$lib -Wl,-rpath-link,$lib"

dir=build/m32
echo "=== m32: configure"
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKC_BUILD_BENCH=OFF \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$link" \
  -DCMAKE_SHARED_LINKER_FLAGS="$link" -DCMAKE_MODULE_LINKER_FLAGS="$link" \
  -DCMAKE_LIBRARY_ARCHITECTURE=i386-linux-gnu -DGTest_DIR="$lib/cmake/GTest" >/dev/null
echo "=== m32: build"
cmake --build "$dir" -j "$(nproc)"
echo "=== m32: test"
# The credential helper built with a plain compile line targets the
# machine's own word size and libraries, so it cannot link against this
# build's; the helper built by CMake still runs in the other helper tests.
ctest --test-dir "$dir" --output-on-failure -j "$(nproc)" --timeout 600 \
  -E 'CredentialHelper.BuiltWithAPlainCompileLine' "$@"
echo "=== m32: all tests passed"
