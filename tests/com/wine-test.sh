#!/usr/bin/env bash
# One Wine test of the COM server, as ctest runs it (label "wine"):
#
#   wine-test.sh typelib                  the type library embedded in the DLL against the
#                                         surface tables; writes BUILD/wine/enums.vbs
#   wine-test.sh vbs SUITE CARD UID       tests/com/vbs/SUITE.vbs on a simulated CARD
#   wine-test.sh program NAME CARD UID    the check program BUILD/bin/NAME.exe on a simulated CARD
#
# Each passes only when the summary line of the program or suite tells of no failure.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tests/com/wine-prefix.sh
source "$here/wine-prefix.sh"
lumivex_wine_env || exit $?
mkdir -p "$LUMIVEX_BUILD/wine"
case ${1:-}/$# in
  typelib/1)
    name=typelib_check
    command=(wine "$LUMIVEX_BUILD/bin/typelib_check.exe" "$LUMIVEX_DLL"
      "$(winepath -w "$LUMIVEX_BUILD/wine/enums.vbs")")
    ;;
  vbs/4)
    name=$2
    script=$(lumivex_vbs_script "$2") || exit 1
    command=(wine cscript //nologo "$(winepath -w "$script")" "$4")
    ;;
  program/4)
    name=$2
    command=(wine "$LUMIVEX_BUILD/bin/$2.exe")
    ;;
  *)
    echo "usage: $0 typelib | vbs SUITE CARD UID | program NAME CARD UID" >&2
    exit 2
    ;;
esac
output=$(LUMIVEX_SIM_CARD=${3:-} LUMIVEX_SIM_UID=${4:-} "${command[@]}" 2>&1 | tr -d '\r')
echo "$output"
lumivex_summaries_pass "$output" "$name"
