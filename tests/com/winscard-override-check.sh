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
lumivex_can_run "$check" || exit
lumivex_wine_prefix "$build" || exit 1

runs=0
failed=0
# run NAME pass|fail "ARGUMENTS" [VARIABLE=VALUE...]: one run of the check with only the given
# variables among those the DLL reads. Either way the check must run to its summary line: a
# crash passes neither.
run() {
  local name=$1 expected=$2 arguments=$3 output
  shift 3
  # shellcheck disable=SC2086 # the arguments are split into words on purpose
  output=$(env -u LUMIVEX_SIM_CARD -u LUMIVEX_SIM_UID -u WINEDLLOVERRIDES -u DISPLAY "$@" \
    wine "$check" $arguments 2>&1 | tr -d '\r')
  runs=$((runs + 1))
  local outcome="no summary"
  if lumivex_summaries_pass "$output" winscard_override_check 2>/dev/null; then
    outcome=pass
  elif [[ $output == *"FAIL "*"SUMMARY winscard_override_check: "* ]]; then
    outcome=fail
  fi
  if [[ $outcome == "$expected" ]]; then
    echo "ok   $name"
  else
    failed=$((failed + 1))
    echo "FAIL $name (expected the check to $expected, it came to: $outcome):"
    sed 's/^/       /' <<<"$output"
  fi
}

# The ATRs of the cards the DLL builds; the UID goes back upper-cased.
mifare1k=3B8F8001804F0CA000000306030001000000006A desfire=3B8180018080
run "MIFARE Classic 1K with a given UID" pass "card $mifare1k A1B2C3D4" \
  LUMIVEX_SIM_CARD=mifare1k LUMIVEX_SIM_UID=A1B2C3D4
run "DESFire with a given UID" pass "card $desfire 04A1B2C3D4E5F6" \
  LUMIVEX_SIM_CARD=desfire LUMIVEX_SIM_UID=04a1b2c3d4e5f6
run "MIFARE Classic 1K by default, with its default UID" pass "card $mifare1k 12345678"
run "a UID of the wrong length leaves the reader empty" pass empty \
  LUMIVEX_SIM_CARD=mifare1k LUMIVEX_SIM_UID=A1B2C3
run "no override: Wine's own winscard.dll" pass builtin WINEDLLOVERRIDES=winscard=b
run "no override: the simulator check fails" fail "card $mifare1k A1B2C3D4" WINEDLLOVERRIDES=winscard=b

echo "winscard override check: $runs runs, $failed failed"
[[ $failed == 0 ]]
