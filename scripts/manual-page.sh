#!/usr/bin/env bash
# Makes a manual page of its text in docs/man, and writes it to standard output: a line "@PROGRAM TABLE@" becomes the
# table that the program prints, and "@version@" the version.
#   scripts/manual-page.sh PAGE.scd.in VERSION PROGRAMS    PROGRAMS is the folder of cictl and ci-daemon-sim
set -euo pipefail
if [ $# -ne 3 ]; then
  echo "usage: scripts/manual-page.sh PAGE.scd.in VERSION PROGRAMS" >&2
  exit 2
fi
while IFS= read -r line || [ -n "$line" ]; do
  if [[ $line =~ ^@([a-z-]+)\ ([a-z]+)@$ ]]; then
    "$3/${BASH_REMATCH[1]}" --manual "${BASH_REMATCH[2]}"
  else
    printf '%s\n' "${line//@version@/$2}"
  fi
done <"$1" | scdoc | sed '/^\.TH /a .nh' # what .TH begins anew breaks words, also names
