#!/usr/bin/env bash
# Runs a VBScript against the COM server under Wine, with the simulated reader "Lumivex Simulator 0":
#
#   tests/com/run-vbs.sh SCRIPT.vbs [ARGS...]
#
# Prepares the private Wine prefix of build/mingw-x86_64 (once; LUMIVEX_BUILD names another build
# folder), registers the 64-bit Orbanet_Lumivex_BL.dll, installs the test winscard.dll, runs
# `wine cscript //nologo SCRIPT ARGS` and exits with the script's WScript.Quit code.
# LUMIVEX_SIM_CARD (mifare1k, mifare4k, desfire, none) and LUMIVEX_SIM_UID choose the card.
set -uo pipefail
if [[ $# -lt 1 || ! -f $1 ]]; then
  echo "usage: $0 SCRIPT.vbs [ARGS...]" >&2
  exit 2
fi
# shellcheck source=tests/com/wine-prefix.sh
source "$(dirname "$0")/wine-prefix.sh"
lumivex_wine_env || exit $?
script=$(winepath -w "$(cd "$(dirname "$1")" && pwd)/$(basename "$1")") || exit 2
shift
exec wine cscript //nologo "$script" "$@"
