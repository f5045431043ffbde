#!/usr/bin/env bash
# Runs winscard_override_check under Wine in the build's private prefix: the production winscard
# binding must reach the test winscard.dll through the prefix's lasting override (a MIFARE Classic
# and a DESFire card with given UIDs, an empty reader), reach Wine's own stub when the override is
# lifted, and the check itself must fail when the override does not apply.
# Every run starts Wine afresh (a few seconds each): the card is chosen when the DLL is loaded.
# usage: winscard-override-check.sh BUILD CHECK.exe
# Exit status: 0 passed, 1 failed, 77 skipped (with a "SKIPPED" line saying why).
set -u

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tests/com/wine-prefix.sh
source "$here/wine-prefix.sh"

build=${1:?usage: winscard-override-check.sh BUILD CHECK.exe}
check=${2:?usage: winscard-override-check.sh BUILD CHECK.exe}

if ! command -v wine >/dev/null; then
  echo "SKIPPED (wine is not installed)"
  exit 77
fi
width=$(lumivex_pe_width "$check") || exit 1
if [[ $width == 32 ]] && ! lumivex_wine32_available; then
  echo "SKIPPED (32-bit Wine not available)"
  exit 77
fi
lumivex_wine_prefix "$build" || exit 1

runs=0
failed=0
# run NAME pass|fail MODE [VARIABLE=VALUE...]: one run of the check with only the given variables
# among those the DLL and the check read.
run() {
  local name=$1 expected=$2 mode=$3 output status line
  shift 3
  output=$(env -u LUMIVEX_SIM_CARD -u LUMIVEX_SIM_UID -u WINEDLLOVERRIDES -u DISPLAY "$@" \
    wine "$check" "$mode" 2>&1)
  status=$?
  runs=$((runs + 1))
  # Either way the check ran to its summary: a crash passes neither.
  if [[ $expected == pass && $status == 0 && $output == *" checks, 0 failed"* ]] ||
    [[ $expected == fail && $status == 1 && $output == *"FAIL"*" checks, "*" failed"* ]]; then
    echo "ok   $name"
  else
    failed=$((failed + 1))
    echo "FAIL $name (exit status $status, expected the check to $expected):"
    while IFS= read -r line; do echo "       $line"; done <<<"$output"
  fi
}

run "MIFARE Classic 1K with a given UID" pass simulator \
  LUMIVEX_SIM_CARD=mifare1k LUMIVEX_SIM_UID=A1B2C3D4
run "DESFire with a given UID" pass simulator \
  LUMIVEX_SIM_CARD=desfire LUMIVEX_SIM_UID=04a1b2c3d4e5f6
run "a UID of the wrong length leaves the reader empty" pass simulator \
  LUMIVEX_SIM_CARD=mifare1k LUMIVEX_SIM_UID=A1B2C3
run "no override: Wine's own winscard.dll" pass builtin WINEDLLOVERRIDES=winscard=b
run "no override: the simulator check fails" fail simulator WINEDLLOVERRIDES=winscard=b

echo "winscard override check: $runs runs, $failed failed"
[[ $failed == 0 ]]
