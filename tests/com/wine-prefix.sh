# shellcheck shell=bash
# A private Wine prefix for the Windows tests, in which our test winscard.dll (the card simulator)
# replaces Wine's own. Source this file, then call:
#
#   lumivex_wine_prefix BUILD [BUILD32]
#     BUILD is a mingw build folder (build/mingw-x86_64); the prefix is BUILD/wineprefix. The
#     first call creates it headless (no X display needed). Every call makes sure the lasting
#     override winscard=native is in its registry, and copies each build's test DLL
#     (BUILD/test-winscard/winscard.dll) into it again when the prefix's copy differs (a rebuilt
#     DLL, or Wine's own put back by a prefix update): a 64-bit DLL into system32, a 32-bit one
#     (from BUILD32, build/mingw-i686) into syswow64. Exports WINEPREFIX and WINEDEBUG=-all.
#     Test runs sharing a prefix may call it at the same time (a lock in BUILD serialises them).
#
#   lumivex_wine32_available
#     True when this machine's Wine can run 32-bit programs. When it cannot, print
#     "SKIPPED (32-bit Wine not available)" rather than fail.
#
#   lumivex_pe_width FILE
#     Prints 32 or 64: the width of a Windows program or DLL.
#
# Every function prints what went wrong on stderr and returns non-zero; none exits the caller.

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

# Copies one build's test winscard.dll into the prefix's folder for its width, when newer.
_lumivex_wine_install_dll() {
  local build=$1 prefix=$2 dll width folder target
  dll=$build/test-winscard/winscard.dll
  [[ -f $dll ]] || { echo "wine-prefix: $dll is missing (build the preset first)" >&2; return 1; }
  width=$(lumivex_pe_width "$dll") || return 1
  folder=$prefix/drive_c/windows/system32
  [[ $width == 32 ]] && folder=$prefix/drive_c/windows/syswow64
  target=$folder/winscard.dll
  # Compared by content: the prefix's own winscard.dll (placed by wineboot, and again after a Wine
  # update) may well be newer than ours.
  if ! cmp -s "$dll" "$target"; then
    # Through a temporary name, so that a program starting meanwhile never sees half a DLL.
    if ! { mkdir -p "$folder" && cp "$dll" "$target.lumivex-new" &&
      mv -f "$target.lumivex-new" "$target"; }; then
      echo "wine-prefix: cannot install $dll into $folder" >&2
      return 1
    fi
  fi
}

lumivex_wine_prefix() {
  local build=${1:?usage: lumivex_wine_prefix BUILD [BUILD32]} build32=${2:-}
  if ! command -v wine >/dev/null || ! command -v wineserver >/dev/null; then
    echo "wine-prefix: wine is not installed" >&2
    return 1
  fi
  build=$(cd "$build" 2>/dev/null && pwd) || { echo "wine-prefix: no folder $1" >&2; return 1; }
  if [[ -n $build32 ]]; then
    build32=$(cd "$build32" 2>/dev/null && pwd) || { echo "wine-prefix: no folder $2" >&2; return 1; }
  fi
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
    _lumivex_wine_install_dll "$build" "$prefix" || exit 1
    if [[ -n $build32 ]]; then
      _lumivex_wine_install_dll "$build32" "$prefix" || exit 1
    fi
  ) 9>"$build/wineprefix.lock"
}
