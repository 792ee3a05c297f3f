#!/usr/bin/env bash
# Rewrites the parts of docs/protocol.md and docs/signals.md that the tables say.
#   scripts/update-protocol-page.sh                    builds the program that prints them, and rewrites the pages
#   scripts/update-protocol-page.sh --check PROGRAM    changes nothing; fails when a page is not up to date
set -euo pipefail
cd "$(dirname "$0")/.."

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

fresh=$(mktemp)
trap 'rm -f "$fresh"' EXIT
status=0

# update PAGE CHECKS ARGUMENT...: what the program prints with the arguments goes between the two lines of the page.
update() {
  local page=$1 checks=$2
  shift 2
  if ! grep -qxF -- "$begin" "$page" || ! grep -qxF -- "$end" "$page"; then
    echo "$page lacks the lines between which the tables stand" >&2
    exit 1
  fi
  sed "\\|^$begin\$|q" "$page" >"$fresh"
  echo >>"$fresh"
  "$program" "$@" >>"$fresh"
  echo >>"$fresh"
  sed -n "\\|^$end\$|,\$p" "$page" >>"$fresh"
  if cmp -s "$fresh" "$page"; then
    return
  elif [ "$checks" -eq 0 ]; then
    cat "$fresh" >"$page"
  else
    echo "$page is not up to date: run scripts/update-protocol-page.sh. What it would change first:" >&2
    diff "$page" "$fresh" | head -n 20 >&2 || true
    status=1
  fi
}

update docs/protocol.md $#
update docs/signals.md $# signals
exit "$status"
