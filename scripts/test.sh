#!/usr/bin/env bash
# The test command: installs what is missing, builds the dev preset, runs every test (unit, then
# the real PC/SC stack), runs the quality gates (format and clang-tidy: scripts/lint.sh; the unit
# tests under AddressSanitizer and UndefinedBehaviorSanitizer), checks the release build, runs
# each fuzz target briefly, and builds the Windows COM server (32- and 64-bit) and runs it under
# Wine. It ends with how many tests of each tier ran, and which tier could not run here and why;
# a tier that runs no test, or skips one, fails the command.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh

jobs=$(nproc)
summary=()
ran=0

# run_tier NAME COMMAND...: runs a ctest command (possibly inside a wrapper) and keeps
# "NAME: N passed" for the summary. Fails when a test fails, when none ran, or when one was
# skipped: a tier that cannot run here is left out by the caller, with its reason, instead.
run_tier() {
  local name=$1
  shift
  local log status=0 total skipped
  log=$(mktemp)
  "$@" 2>&1 | tee "$log" || status=$?
  total=$(grep -oE 'tests? failed out of [0-9]+' "$log" | tail -n 1 | grep -oE '[0-9]+$' || true)
  skipped=$(sed -n '/The following tests did not run/,$p' "$log" | grep -cE '^[[:space:]]+[0-9]+ - ' ||
    true)
  rm -f "$log"
  total=${total:-0}
  if ((status != 0)); then
    echo "FAILED: $name: $*" >&2
    exit 1
  fi
  if ((total == 0 || skipped > 0)); then
    echo "FAILED: $name: $total tests found, $skipped of them skipped: $*" >&2
    exit 1
  fi
  summary+=("$name: $total passed")
  ran=$((ran + total))
}

echo "== dev build and unit tests"
cmake --preset dev
cmake --build --preset dev -j "$jobs"
run_tier "unit" ctest --preset dev -j "$jobs"

echo "== real PC/SC stack (pcscd + vpcd + simulated card)"
run_tier "real PC/SC stack" \
  tests/pcsc/with-pcscd.sh ctest --test-dir build/dev -L pcsc --output-on-failure

echo "== quality gates: format and clang-tidy"
scripts/lint.sh

echo "== quality gates: unit tests under AddressSanitizer and UndefinedBehaviorSanitizer"
cmake --preset asan
cmake --build --preset asan -j "$jobs"
run_tier "unit under ASan and UBSan" ctest --preset asan -j "$jobs"

echo "== release build: the main job, the benchmarks and the script memory"
cmake --preset release
cmake --build --preset release -j "$jobs"
build/release/bin/lumivex demo
build/release/bin/lumivex-bench --benchmark_min_time=0.2
build/release/bin/lumivex-script-memory

echo "== fuzz smoke run (10 s a target)"
scripts/fuzz.sh 10

for target in mingw-i686 mingw-x86_64; do
  echo "== Windows build: $target (the COM server, the test winscard.dll, the Wine check programs)"
  cmake --preset "$target"
  cmake --build --preset "$target" -j "$jobs"
  run_tier "Windows DLL checks ($target)" \
    ctest --test-dir "build/$target" -L windows --output-on-failure
done

echo "== Windows: the COM server under Wine (64-bit)"
run_tier "COM server under Wine (64-bit)" \
  ctest --test-dir build/mingw-x86_64 -L wine --output-on-failure

# shellcheck source=tests/com/wine-prefix.sh
source tests/com/wine-prefix.sh
wine32_tests=$(ctest --test-dir build/mingw-i686 -L wine -N | grep -oE 'Total Tests: [0-9]+' |
  grep -oE '[0-9]+')
if lumivex_wine32_available; then
  echo "== Windows: the COM server under Wine (32-bit)"
  run_tier "COM server under Wine (32-bit)" \
    ctest --test-dir build/mingw-i686 -L wine --output-on-failure
else
  # wine32 needs Debian's i386 architecture, whose packages cannot be installed on every day.
  echo "== Windows: the COM server under Wine (32-bit): SKIPPED"
  summary+=("COM server under Wine (32-bit): SKIPPED, $wine32_tests tests not run: this machine's \
Wine cannot run 32-bit programs (package wine32); the 32-bit DLL is built and its imports checked")
fi

echo "== summary"
printf '  %s\n' "${summary[@]}"
echo "== all tests passed: $ran tests ran"
