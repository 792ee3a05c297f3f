#!/usr/bin/env bash
# Installs what is missing, builds what it shows, and shows the main job: an application, the library, a real
# dbus-daemon and the simulator in the daemon's place.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
# As the tests are built, so that they find it done.
cmake --preset ci -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
echo "Building the library, the simulator, cictl and the examples: some minutes the first time ..."
cmake --build --preset ci --target ci-daemon-sim cictl example-menu example-tour -- --quiet
bin=build/ci/bin
echo; echo "== An application, a CAM and its menu (examples/menu)"
"$bin/ci-daemon-sim" run -- "$bin/example-menu"
echo; echo "== A call or two on each of the nine interfaces (examples/tour)"
"$bin/ci-daemon-sim" run -- "$bin/example-tour"
echo; echo "== The same set from a terminal (cictl)"
"$bin/ci-daemon-sim" run -- "$bin/cictl" slots
