#!/usr/bin/env bash
# Builds the library for another processor and runs its tests under qemu-user, those beside the simulator against one
# that is built for this machine. Installs what is missing, and says the result in its last line. docs/platforms.md tells
# what ran, and what cannot.
#   scripts/cross-test.sh ARCH    armhf, arm64; s390x: the golden bytes alone
set -euo pipefail
cd "$(dirname "$0")/.."

arch=${1:-}
if [ $# -ne 1 ] || [ ! -f "cmake/toolchains/$arch.cmake" ] || [ "$arch" = debian ]; then
  echo "usage: scripts/cross-test.sh armhf|arm64|s390x" >&2
  exit 2
fi
limit=2400 # seconds for everything; ccache makes most of them few
bounded() { timeout "$((limit > SECONDS ? limit - SECONDS : 1))" "$@"; }
trap 'status=$?; [ $status -eq 0 ] || echo "$arch: FAILED after $SECONDS s" >&2' EXIT

scripts/install-packages.sh packaging/debian-packages-cross.txt
[ -d "build/sysroot/$arch" ] || bounded scripts/sysroot.sh "$arch" "build/sysroot/$arch"
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
cmake --preset ci -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
bounded cmake --build --preset ci --target ci-daemon-sim -- --quiet
cmake --preset "$arch" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
bounded cmake --build --preset "$arch" -- --quiet
built=$SECONDS
bounded ctest --preset "$arch" -j "$(nproc)" | tee "build/$arch/ctest.log" | grep -vE '^ *(Start|[0-9]+/[0-9]+ .* Passed)'
count=$(grep -oE 'tests failed out of [0-9]+' "build/$arch/ctest.log" | grep -oE '[0-9]+$')
echo "$arch: $count tests passed under qemu in $((SECONDS - built)) s, after $built s of building"
