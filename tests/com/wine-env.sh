# shellcheck shell=bash
# Sourced by the Wine test scripts: the private prefix of a mingw build folder with our test
# winscard.dll installed, and the COM server registered in it.
#
#   lumivex_wine_env BUILD      BUILD defaults to $LUMIVEX_BUILD or build/mingw-x86_64
#
# Exports WINEPREFIX, WINEDEBUG, LUMIVEX_BUILD, LUMIVEX_DLL (the Windows path of the DLL),
# LUMIVEX_WIDTH (32 or 64) and LUMIVEX_REGSVR32. Returns 77 after a "SKIPPED" line when the DLL
# is 32-bit and this Wine cannot run 32-bit programs, another non-zero status with a message when
# something is missing.

LUMIVEX_SOURCE=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=tests/com/wine-prefix.sh
source "$LUMIVEX_SOURCE/tests/com/wine-prefix.sh"

lumivex_wine_env() {
  local build=${1:-${LUMIVEX_BUILD:-$LUMIVEX_SOURCE/build/mingw-x86_64}}
  build=$(cd "$build" 2>/dev/null && pwd) || { echo "wine-env: no build folder $build" >&2; return 1; }
  local dll=$build/bin/Orbanet_Lumivex_BL.dll
  [[ -f $dll ]] || { echo "wine-env: $dll is missing (build the preset first)" >&2; return 1; }
  LUMIVEX_WIDTH=$(lumivex_pe_width "$dll") || return 1
  if [[ $LUMIVEX_WIDTH == 32 ]] && ! lumivex_wine32_available; then
    echo "SKIPPED (32-bit Wine not available): $dll was built but cannot run here"
    return 77
  fi
  lumivex_wine_prefix "$build" || return 1
  export LUMIVEX_BUILD=$build LUMIVEX_WIDTH
  LUMIVEX_DLL=$(winepath -w "$dll" 2>/dev/null) || return 1
  export LUMIVEX_DLL
  # The registration tool of the DLL's width (a 32-bit DLL needs the 32-bit regsvr32).
  LUMIVEX_REGSVR32=regsvr32
  [[ $LUMIVEX_WIDTH == 32 ]] && LUMIVEX_REGSVR32='C:\windows\syswow64\regsvr32.exe'
  export LUMIVEX_REGSVR32
  # Registered again each time: cheap, and it follows a rebuilt DLL.
  if ! wine "$LUMIVEX_REGSVR32" /s "$LUMIVEX_DLL"; then
    echo "wine-env: regsvr32 $LUMIVEX_DLL failed" >&2
    return 1
  fi
}

# Runs a command and fails when its output has no summary line: Wine's cscript prints nothing and
# exits 0 when a script stops on an error it does not trap, so an exit status alone proves nothing.
lumivex_expect_summary() {
  local output status
  output=$(mktemp)
  "$@" 2>&1 | tee "$output"
  status=${PIPESTATUS[0]}
  if ! grep -q '^SUMMARY ' "$output"; then
    echo "FAIL: no summary line from: $*" >&2
    rm -f "$output"
    return 1
  fi
  rm -f "$output"
  return "$status"
}
