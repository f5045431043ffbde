#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz preset: clang, ASan, UBSan) and runs each one for a bounded
# time on its seed corpus (fuzz/corpus/<target>) plus what earlier runs found (build/fuzz/corpus).
# A crash, a failed check, a leak, a hang (-timeout) or runaway memory (-rss_limit_mb) fails the
# run and leaves the input in build/fuzz/artifacts.
#
#   scripts/fuzz.sh 10                # every target, 10 s each (the CI smoke run)
#   scripts/fuzz.sh 600 command_engine  # one target for ten minutes
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-10}
shift || true
targets=("$@")
if ((${#targets[@]} == 0)); then
  for source in fuzz/*_fuzz.cpp; do
    name=$(basename "$source" .cpp)
    targets+=("${name%_fuzz}")
  done
fi

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"

mkdir -p build/fuzz/artifacts build/fuzz/logs
for target in "${targets[@]}"; do
  work=build/fuzz/corpus/$target
  mkdir -p "$work"
  corpora=("$work")
  [ -d "fuzz/corpus/$target" ] && corpora+=("fuzz/corpus/$target")
  options=()
  [ -f "fuzz/$target.dict" ] && options+=("-dict=fuzz/$target.dict")
  log=build/fuzz/logs/$target.log
  echo "== fuzz $target (${seconds}s)"
  if ! "build/fuzz/bin/${target}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="build/fuzz/artifacts/$target-" "${options[@]}" \
      "${corpora[@]}" \
      >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "fuzz target $target failed; input kept in build/fuzz/artifacts" >&2
    exit 1
  fi
  grep -E '^(Done|stat::average_exec_per_sec)' "$log" || true
done
