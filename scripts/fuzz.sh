#!/usr/bin/env bash
# Builds the fuzzers (fuzz/README.md) and runs each for some seconds, as many side by side as there are processors, in a
# corpus of its own that begins as the repository's. Prints a line of figures for each. What a fuzzer finds is kept in
# build/fuzz-findings, and the script fails. Installs nothing.
#   scripts/fuzz.sh SECONDS [TARGET...]   SECONDS 0: every input of the repository once
set -euo pipefail
cd "$(dirname "$0")/.."

if [[ ! "${1:-}" =~ ^[0-9]+$ ]]; then
  echo "usage: scripts/fuzz.sh SECONDS [TARGET...]" >&2
  exit 2
fi
seconds=$1
shift
all=(fuzz/*_fuzzer.cpp)
all=("${all[@]##*/}")
all=("${all[@]%_fuzzer.cpp}")
targets=("${@:-${all[@]}}")
for target in "${targets[@]}"; do
  [ -f "fuzz/${target}_fuzzer.cpp" ] || { echo "no fuzzer \"$target\"; there are ${all[*]}" >&2; exit 2; }
done

export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake --preset fuzz "${launcher[@]}" >/dev/null
cmake --build --preset fuzz --target "${targets[@]/%/_fuzzer}"

findings=$PWD/build/fuzz-findings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$findings"

# run TARGET: leaves its line of figures in $work/TARGET.line and, when something was found, $work/TARGET.failed
run() {
  local target=$1 name=$1_fuzzer log=$work/$1.log corpora=() options=() figures
  mkdir -p "$work/$target"
  [ -d "fuzz/corpus/$name" ] && corpora+=("fuzz/corpus/$name")
  [ "$target" = scenario ] && corpora+=(simulator/scenarios)
  [ -f "fuzz/$target.dict" ] && options+=("-dict=fuzz/$target.dict")
  # No symbols while it runs and an even choice of inputs: both cost more time than the code under test.
  options+=(-print_funcs=0 -entropic=0 -reload=0 -max_len=4096 -timeout=10 -rss_limit_mb=1024 -print_final_stats=1
    "-artifact_prefix=$findings/$name-")
  if [ "$seconds" -eq 0 ]; then
    options+=(-runs=0)
  else
    options+=("-max_total_time=$seconds")
  fi
  if ! "build/fuzz/bin/$name" "${options[@]}" "$work/$target" "${corpora[@]}" >"$log" 2>&1; then
    cp "$log" "$findings/$name.log"
    { grep -E '^SUMMARY|runtime error' "$log" | head -3
      grep -o "Test unit written to .*" "$log" || echo "see $findings/$name.log"; } >"$work/$target.failed"
  fi
  figures=$(awk '
    /cov: / { for (i = 1; i < NF; ++i) if ($i == "cov:") cov = $(i + 1); else if ($i == "corp:") corpus = $(i + 1) }
    /number_of_executed_units/ { runs = $2 }
    /average_exec_per_sec/ { rate = $2 }
    /peak_rss_mb/ { rss = $2 }
    END { printf "%12d %9d %9d %14s %6d", runs, rate, cov, corpus, rss }' "$log")
  printf '%-14s %s\n' "$target" "$figures" >"$work/$target.line"
}

printf '%-14s %12s %9s %9s %14s %6s\n' target executions exec/s coverage corpus MiB
running=0
for target in "${targets[@]}"; do
  if [ "$running" -ge "$(nproc)" ]; then
    wait -n
    running=$((running - 1))
  fi
  { run "$target"; cat "$work/$target.line"; } &
  running=$((running + 1))
done
wait
awk '{ total += $2 } END { printf "%-14s %12d\n", "all", total }' "$work"/*.line
if compgen -G "$work/*.failed" >/dev/null; then
  echo "FOUND:" >&2
  cat "$work"/*.failed >&2
  exit 1
fi
