#!/usr/bin/env bash
# Writes down the binary interface of the libraries as it is now, with which tests/abi compares every build from now on:
# at a release, and not before (docs/abi.md). Changes nothing but tests/abi/released.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -gt 0 ]; then
  echo "usage: scripts/update-abi.sh" >&2
  exit 2
fi
cmake --preset ci >/dev/null
cmake --build --preset ci --target ciapi ciapi-testing -- --quiet
for library in ciapi ciapi-testing; do
  python3 -B tests/abi/released.py update "build/ci/lib/lib$library.so" "tests/abi/released/lib$library.abi.xz"
done
ls -l tests/abi/released
