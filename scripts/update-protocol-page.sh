#!/usr/bin/env bash
# Rewrites the part of docs/protocol.md that the operation tables say.
#   scripts/update-protocol-page.sh                    builds the program that prints it, and rewrites the page
#   scripts/update-protocol-page.sh --check PROGRAM    changes nothing; fails when the page is not up to date
set -euo pipefail
cd "$(dirname "$0")/.."

page=docs/protocol.md
begin='<!-- From here on printed by scripts/update-protocol-page.sh -->'
end='<!-- Up to here printed by scripts/update-protocol-page.sh -->'

if [ "${1:-}" = "--check" ] && [ $# -eq 2 ]; then
  program=$2
elif [ $# -eq 0 ]; then
  cmake --preset ci >/dev/null
  cmake --build --preset ci --target protocol_page
  program=build/ci/bin/protocol_page
else
  echo "usage: scripts/update-protocol-page.sh [--check PROGRAM]" >&2
  exit 2
fi
if ! grep -qxF -- "$begin" "$page" || ! grep -qxF -- "$end" "$page"; then
  echo "$page lacks the lines between which the tables stand" >&2
  exit 1
fi

fresh=$(mktemp)
trap 'rm -f "$fresh"' EXIT
sed "\\|^$begin\$|q" "$page" >"$fresh"
echo >>"$fresh"
"$program" >>"$fresh"
echo >>"$fresh"
sed -n "\\|^$end\$|,\$p" "$page" >>"$fresh"

if cmp -s "$fresh" "$page"; then
  exit 0
elif [ $# -eq 0 ]; then
  cat "$fresh" >"$page"
else
  echo "$page is not up to date: run scripts/update-protocol-page.sh. What it would change first:" >&2
  diff "$page" "$fresh" | head -n 20 >&2 || true
  exit 1
fi
