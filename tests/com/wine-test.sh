#!/usr/bin/env bash
# One Wine test of the COM server, as ctest runs it (label "wine"):
#
#   wine-test.sh typelib                  the type library embedded in the DLL against the
#                                         surface tables; writes BUILD/wine/enums.vbs
#   wine-test.sh vbs SUITE CARD UID       tests/com/vbs/SUITE.vbs on a simulated CARD
#   wine-test.sh program NAME CARD UID    the check program BUILD/bin/NAME.exe on a simulated CARD
#
# Each fails when the program's summary line is missing, whatever its exit status.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tests/com/wine-env.sh
source "$here/wine-env.sh"
lumivex_wine_env || exit $?
mkdir -p "$LUMIVEX_BUILD/wine"
constants=$LUMIVEX_BUILD/wine/enums.vbs

case ${1:-} in
  typelib)
    lumivex_expect_summary wine "$LUMIVEX_BUILD/bin/typelib_check.exe" "$LUMIVEX_DLL" \
      "$(winepath -w "$constants")"
    ;;
  vbs)
    [[ $# -eq 4 ]] || { echo "usage: $0 vbs SUITE CARD UID" >&2; exit 2; }
    [[ -f $constants ]] || { echo "run '$0 typelib' first: $constants is missing" >&2; exit 1; }
    # One script of the shared checks, the type library's constants and the suite: Wine's
    # VBScript cannot load a file of its own (no ExecuteGlobal).
    suite=$LUMIVEX_BUILD/wine/$2-suite.vbs
    cat "$here/vbs/check.vbs" "$constants" "$here/vbs/$2.vbs" >"$suite" || exit 1
    LUMIVEX_SIM_CARD=$3 LUMIVEX_SIM_UID=$4 lumivex_expect_summary "$here/run-vbs.sh" "$suite" "$4"
    ;;
  program)
    [[ $# -eq 4 ]] || { echo "usage: $0 program NAME CARD UID" >&2; exit 2; }
    LUMIVEX_SIM_CARD=$3 LUMIVEX_SIM_UID=$4 lumivex_expect_summary \
      wine "$LUMIVEX_BUILD/bin/$2.exe"
    ;;
  *)
    echo "usage: $0 typelib | vbs SUITE CARD UID | program NAME CARD UID" >&2
    exit 2
    ;;
esac
