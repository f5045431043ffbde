# shellcheck shell=bash
# What the Wine tests share: a private Wine prefix for a mingw build folder in which our test
# winscard.dll (the card simulator) replaces Wine's own, with the COM server registered in it.
# Source this file, then call:
#
#   lumivex_wine_env [BUILD]
#     BUILD is a mingw build folder (default $LUMIVEX_BUILD or build/mingw-x86_64). Prepares its
#     prefix BUILD/wineprefix (lumivex_wine_prefix) and registers BUILD's Orbanet_Lumivex_BL.dll
#     in it. Exports WINEPREFIX, WINEDEBUG, LUMIVEX_BUILD, LUMIVEX_DLL (the Windows path of the
#     DLL), LUMIVEX_WIDTH (32 or 64) and LUMIVEX_REGSVR32 (the registration tool of that width).
#     Returns 77 after a "SKIPPED" line when the DLL is 32-bit and this Wine cannot run it.
#
#   lumivex_wine_prefix BUILD
#     Creates the prefix headless on the first call (no X display needed). Every call makes sure
#     the lasting override winscard=native is in its registry, and copies BUILD's test DLL
#     (BUILD/test-winscard/winscard.dll) into it again when the prefix's copy differs (a rebuilt
#     DLL, or Wine's own put back by a prefix update): into system32 for a 64-bit DLL, syswow64
#     for a 32-bit one. Exports WINEPREFIX and WINEDEBUG=-all. Test runs sharing a prefix may call
#     it at the same time (a lock in BUILD serialises them).
#
#   lumivex_can_run FILE
#     True when this machine's Wine can run the Windows program or DLL FILE; otherwise prints a
#     "SKIPPED" line saying why and returns 77, the status ctest reports as skipped.
#
#   lumivex_wine32_available
#     True when this machine's Wine can run 32-bit programs.
#
#   lumivex_pe_width FILE
#     Prints 32 or 64: the width of a Windows program or DLL.
#
#   lumivex_vbs_script NAME
#     Joins tests/com/vbs/check.vbs, the type library's constants and tests/com/vbs/NAME.vbs into
#     one script in BUILD/wine (this Wine's VBScript cannot load one script from another) and
#     prints its path. The constants are BUILD/wine/enums.vbs, which typelib_check writes from the
#     DLL's type library (here first when it is missing). Needs lumivex_wine_env first.
#
#   lumivex_summaries_pass OUTPUT NAME...
#     True when OUTPUT holds the summary line of each named check program or script and it tells
#     of no failure. Wine's cscript exits 0 when a script stops on an error it does not trap, and
#     explorer does not hand on a program's exit status: the summary line is the proof.
#
# Every function prints what went wrong on stderr and returns non-zero; none exits the caller.

LUMIVEX_SOURCE=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

lumivex_pe_width() {
  local file=${1:?usage: lumivex_pe_width FILE} offset machine
  # The PE header's offset is at 0x3C; its machine field follows the 4-byte "PE\0\0" signature.
  offset=$(od -An -tu4 -j60 -N4 "$file" 2>/dev/null | tr -d ' ')
  [[ -n $offset ]] || { echo "wine-prefix: cannot read $file" >&2; return 1; }
  machine=$(od -An -tx2 -j$((offset + 4)) -N2 "$file" 2>/dev/null | tr -d ' ')
  case $machine in
    8664) echo 64 ;;
    014c) echo 32 ;;
    *) echo "wine-prefix: $file is not an x86 Windows binary (machine '$machine')" >&2; return 1 ;;
  esac
}

lumivex_wine32_available() {
  # Debian's wine starts 32-bit programs with this loader, which only the wine32 package brings.
  [[ -x /usr/lib/wine/wine ]] && command -v wine >/dev/null
}

lumivex_can_run() {
  local width
  if ! command -v wine >/dev/null || ! command -v wineserver >/dev/null; then
    echo "SKIPPED: wine is not installed (scripts/deps.sh installs it)"
    return 77
  fi
  width=$(lumivex_pe_width "$1") || return 1
  if [[ $width == 32 ]] && ! lumivex_wine32_available; then
    echo "SKIPPED (32-bit Wine not available): $1 was built but cannot run here"
    return 77
  fi
}

lumivex_wine_prefix() {
  local build
  build=$(cd "${1:?usage: lumivex_wine_prefix BUILD}" 2>/dev/null && pwd) ||
    { echo "wine-prefix: no folder $1" >&2; return 1; }
  local prefix=$build/wineprefix log=$build/wineprefix.log
  export WINEPREFIX=$prefix WINEDEBUG=-all
  (
    flock -w 600 9 || { echo "wine-prefix: $build/wineprefix.lock stayed locked" >&2; exit 1; }
    if [[ ! -f $prefix/.lumivex-ready ]]; then
      # A prefix without the mark is left over from an interrupted preparation: start afresh.
      rm -rf -- "${build:?}/wineprefix"
      echo "wine-prefix: creating $prefix (about 10 s)" >&2
      # No display, and no offer to install Mono or Gecko, which the tests do not use.
      if ! env -u DISPLAY WINEDLLOVERRIDES="mscoree,mshtml=" wineboot -i >"$log" 2>&1 ||
        ! wineserver -w; then
        echo "wine-prefix: creating $prefix failed; see $log" >&2
        exit 1
      fi
      touch "$prefix/.lumivex-ready"
    fi
    # The override lives in the prefix's registry (user.reg, written when the server stops); it is
    # set again whenever it has gone.
    if ! grep -qs '^"winscard"="native"' "$prefix/user.reg"; then
      if ! env -u DISPLAY wine reg add 'HKCU\Software\Wine\DllOverrides' /v winscard /t REG_SZ \
        /d native /f >>"$log" 2>&1 || ! wineserver -w; then
        echo "wine-prefix: setting the winscard override in $prefix failed; see $log" >&2
        exit 1
      fi
    fi
    local dll=$build/test-winscard/winscard.dll folder=$prefix/drive_c/windows/system32 width
    [[ -f $dll ]] || { echo "wine-prefix: $dll is missing (build the preset first)" >&2; exit 1; }
    width=$(lumivex_pe_width "$dll") || exit 1
    [[ $width == 32 ]] && folder=$prefix/drive_c/windows/syswow64
    # Compared by content: the prefix's own winscard.dll (placed by wineboot, and again after a
    # Wine update) may well be newer than ours. Copied through a temporary name, so that a
    # program starting meanwhile never sees half a DLL.
    if ! cmp -s "$dll" "$folder/winscard.dll" && ! { mkdir -p "$folder" &&
      cp "$dll" "$folder/winscard.dll.new" && mv -f "$folder/winscard.dll.new" "$folder/winscard.dll"; }; then
      echo "wine-prefix: cannot install $dll into $folder" >&2
      exit 1
    fi
  ) 9>"$build/wineprefix.lock"
}

lumivex_wine_env() {
  local build=${1:-${LUMIVEX_BUILD:-$LUMIVEX_SOURCE/build/mingw-x86_64}}
  build=$(cd "$build" 2>/dev/null && pwd) || { echo "wine-env: no build folder $build" >&2; return 1; }
  local dll=$build/bin/Orbanet_Lumivex_BL.dll
  [[ -f $dll ]] || { echo "wine-env: $dll is missing (build the preset first)" >&2; return 1; }
  lumivex_can_run "$dll" || return
  lumivex_wine_prefix "$build" || return 1
  LUMIVEX_WIDTH=$(lumivex_pe_width "$dll") || return 1
  LUMIVEX_DLL=$(winepath -w "$dll" 2>/dev/null) || return 1
  LUMIVEX_REGSVR32=regsvr32
  [[ $LUMIVEX_WIDTH == 32 ]] && LUMIVEX_REGSVR32='C:\windows\syswow64\regsvr32.exe'
  export LUMIVEX_BUILD=$build LUMIVEX_WIDTH LUMIVEX_DLL LUMIVEX_REGSVR32
  # Registered again each time: cheap, and it follows a rebuilt DLL.
  wine "$LUMIVEX_REGSVR32" /s "$LUMIVEX_DLL" || { echo "wine-env: regsvr32 $dll failed" >&2; return 1; }
}

lumivex_summaries_pass() {
  local output=$1 name
  shift
  for name in "$@"; do
    if ! grep -qE "^SUMMARY $name: [0-9]+ checks, 0 failed" <<<"$output"; then
      echo "FAIL: no summary line of $name, or one that tells of failures" >&2
      return 1
    fi
  done
}

lumivex_vbs_script() {
  local folder=$LUMIVEX_BUILD/wine vbs=$LUMIVEX_SOURCE/tests/com/vbs
  mkdir -p "$folder" || return 1
  if [[ ! -f $folder/enums.vbs ]]; then
    wine "$LUMIVEX_BUILD/bin/typelib_check.exe" "$LUMIVEX_DLL" "$(winepath -w "$folder/enums.vbs")" \
      >/dev/null || { echo "wine-prefix: typelib_check could not write $folder/enums.vbs" >&2; return 1; }
  fi
  cat "$vbs/check.vbs" "$folder/enums.vbs" "$vbs/$1.vbs" >"$folder/$1-script.vbs" || return 1
  echo "$folder/$1-script.vbs"
}
