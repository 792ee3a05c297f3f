#!/usr/bin/env bash
# Installs what is missing, checks the format of the sources, builds with warnings as errors, and runs all tests but the
# soak, which ctest -L soak runs.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -gt 0 ]; then
  echo "usage: scripts/test.sh" >&2
  exit 2
fi
scripts/install-packages.sh
scripts/check-format.sh
# A precompiled header is no reason for ccache to give up.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
cmake --preset ci -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
cmake --build --preset ci
ctest --test-dir build/ci --output-on-failure --no-tests=error -j "$(nproc)" -LE soak
