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
# shellcheck source=tests/com/wine-prefix.sh
source "$here/wine-prefix.sh"
for tool in xvfb-run convert; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIPPED: $tool is not installed (packages xvfb and xauth, imagemagick)"
    exit 77
  fi
done
lumivex_wine_env "${1:-}" || exit $?
build=$LUMIVEX_BUILD
echo "dialogs: the $LUMIVEX_WIDTH-bit DLL of $build is what runs"

# Wine's own dialog and title-bar fonts (package fonts-wine) make the pictures look as on
# Windows; this Wine does not find them where the package puts them, so they go into the prefix.
fonts=/usr/share/wine/fonts
if [[ -f $fonts/tahoma.ttf && -f $fonts/marlett.ttf ]]; then
  cp -u "$fonts"/tahoma*.ttf "$fonts/marlett.ttf" "$WINEPREFIX/drive_c/windows/Fonts/" || exit 1
else
  echo "dialogs: $fonts lacks Wine's fonts (package fonts-wine): the pictures use other fonts"
fi
client=$(winepath -w "$(lumivex_vbs_script configure)") || exit 1
shots=$build/screenshots
mkdir -p "$shots"
rm -f "$shots"/*.bmp "$shots"/*.png

failed=0
# expect NAME OUTPUT PROGRAM...: shows the output of one run, which passes when the summary line
# of each program tells of no failure.
expect() {
  echo "$2"
  lumivex_summaries_pass "$2" "${@:3}" || { echo "FAIL dialogs: $1"; failed=$((failed + 1)); }
}

echo "== dialogs: an operator answers four Configure calls"
expect "an operator answers four Configure calls" "$(LUMIVEX_SIM_CARD=mifare1k \
  LUMIVEX_SIM_UID=04A1B2C3 timeout 600 xvfb-run -a -s "-screen 0 1024x768x24" \
  wine explorer /desktop=lumivex,1024x768 "$(winepath -w "$build/bin/dialog_driver.exe")" \
  "$(winepath -w "$shots")" cscript.exe //nologo "$client" operator 2>&1 | tr -d '\r')" \
  configure dialog_driver

# Without a display, so that a dialog shown by mistake fails with a record of its own rather than
# the open's.
echo "== dialogs: Wine's own winscard.dll, no reader service: Configure fails, no dialog"
expect "no reader service" "$(env -u DISPLAY WINEDLLOVERRIDES=winscard=b timeout 120 \
  wine cscript.exe //nologo "$client" nodialog 2>&1 | tr -d '\r')" configure

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
