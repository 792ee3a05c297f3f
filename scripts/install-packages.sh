#!/usr/bin/env bash
# Installs the Debian packages of packaging/debian-packages.txt that are missing. Needs root or sudo only when some are.
#   scripts/install-packages.sh [LIST...]    those of other lists, too
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t wanted < <(grep -hvE '^\s*(#|$)' packaging/debian-packages.txt "$@")
missing=()
for package in "${wanted[@]}"; do
  dpkg-query -W -f='${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$' || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
# Nobody is asked anything: sudo would not hand the variable on.
as_root=(env DEBIAN_FRONTEND=noninteractive)
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "missing: ${missing[*]}: install them as root" >&2; exit 1; }
  as_root=(sudo "${as_root[@]}")
fi
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -q
"${as_root[@]}" apt-get install -q -y --no-install-recommends "${missing[@]}"
# The tests start a dbus-broker of their own. Its package would make it the system bus from the next boot on.
if [[ " ${missing[*]} " == *" dbus-broker "* ]]; then
  "${as_root[@]}" systemctl disable dbus-broker.service || true
fi
