#!/usr/bin/env bash
# The Windows dialogs under Wine, on a virtual X screen: a VBScript host calls Configure on the
# registered DLL and tests/com/dialog_driver.cpp answers the dialogs as an operator would
# (tests/com/vbs/configure.vbs says what each call expects). Then Configure once more with Wine's
# own winscard.dll, which has no reader service: it must fail before showing anything.
#
#   tests/com/dialogs-test.sh [BUILD]      BUILD defaults to $LUMIVEX_BUILD or build/mingw-x86_64
#
# Pictures of frmConfigure and frmTest in English and in French are left in BUILD/screenshots
# as PNG files. Exit status: 0 passed, 1 failed, 77 skipped (with a "SKIPPED:" line saying why).
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)

for tool in wine xvfb-run convert; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIPPED: $tool is not installed (packages wine, xvfb and xauth, imagemagick)"
    exit 77
  fi
done
# shellcheck source=tests/com/wine-env.sh
source "$here/wine-env.sh"
build=${1:-${LUMIVEX_BUILD:-$here/../../build/mingw-x86_64}}
width=$(lumivex_pe_width "$build/bin/Orbanet_Lumivex_BL.dll") || exit 1
if ! lumivex_wine32_available; then
  if [[ $width == 32 ]]; then
    echo "SKIPPED: 32-bit Wine is not available here to run the 32-bit DLL of $build"
    exit 77
  fi
  echo "SKIPPED: the 32-bit DLL's dialogs (32-bit Wine is not available here)"
fi
lumivex_wine_env "$build" || exit 1
build=$LUMIVEX_BUILD
echo "dialogs: the $width-bit DLL of $build is what runs"

# Wine's own dialog and title-bar fonts (package fonts-wine) make the pictures look as on
# Windows; this Wine does not find them where the package puts them, so they go into the prefix.
fonts=/usr/share/wine/fonts
if [[ -f $fonts/tahoma.ttf && -f $fonts/marlett.ttf ]]; then
  cp -u "$fonts"/tahoma*.ttf "$fonts/marlett.ttf" "$WINEPREFIX/drive_c/windows/Fonts/" || exit 1
else
  echo "dialogs: $fonts lacks Wine's fonts (package fonts-wine): the pictures use other fonts"
fi

constants=$build/wine/enums.vbs
if [[ ! -f $constants ]]; then
  "$here/wine-test.sh" typelib >/dev/null || { echo "FAIL: cannot write $constants" >&2; exit 1; }
fi
# This Wine's VBScript cannot load one script from another: the client runs as one file.
client=$build/wine/configure.vbs
cat "$here/vbs/check.vbs" "$constants" "$here/vbs/configure.vbs" >"$client" || exit 1
shots=$build/screenshots
mkdir -p "$shots"
rm -f "$shots"/*.bmp "$shots"/*.png

failed=0
# summary NAME OUTPUT PROGRAM...: passes when each program's summary line tells of no failure
# (explorer does not hand on the driver's exit status, and cscript's says nothing of a script
# that stopped on an error).
summary() {
  local name=$1 output=$2 program
  shift 2
  for program in "$@"; do
    if ! grep -qE "^SUMMARY $program: [0-9]+ checks, 0 failed" <<<"$output"; then
      echo "FAIL dialogs: $name"
      failed=$((failed + 1))
      return
    fi
  done
}

echo "== dialogs: an operator answers four Configure calls"
output=$(LUMIVEX_SIM_CARD=mifare1k LUMIVEX_SIM_UID=04A1B2C3 timeout 600 \
  xvfb-run -a -s "-screen 0 1024x768x24" wine explorer /desktop=lumivex,1024x768 \
  "$(winepath -w "$build/bin/dialog_driver.exe")" "$(winepath -w "$shots")" \
  cscript.exe //nologo "$(winepath -w "$client")" operator 2>&1 | tr -d '\r')
echo "$output"
summary "an operator answers four Configure calls" "$output" configure dialog_driver

# Without a display, so that a dialog shown by mistake fails with a record of its own rather than
# the open's.
echo "== dialogs: Wine's own winscard.dll, no reader service: Configure fails, no dialog"
output=$(env -u DISPLAY WINEDLLOVERRIDES=winscard=b timeout 120 \
  wine cscript.exe //nologo "$(winepath -w "$client")" nodialog 2>&1 | tr -d '\r')
echo "$output"
summary "no reader service" "$output" configure

for name in configure-english test-english configure-francais test-francais; do
  if [[ -f $shots/$name.bmp ]] && convert "$shots/$name.bmp" "PNG24:$shots/$name.png"; then
    rm -f "$shots/$name.bmp"
    echo "picture: $shots/$name.png"
  else
    echo "FAIL dialogs: no picture $name"
    failed=$((failed + 1))
  fi
done
[[ $failed == 0 ]] && echo "dialogs: passed" || echo "dialogs: $failed failed"
[[ $failed == 0 ]]
