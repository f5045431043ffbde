#!/usr/bin/env bash
# Checks a Windows binary built by mingw-w64: it must import Windows system DLLs only (a runtime
# left dynamic, such as libstdc++-6.dll or libwinpthread-1.dll, would be missing on a customer's
# machine), and with --def it must export every name of that .def file exactly, without a stdcall
# @n decoration.
# usage: check-dll-imports.sh OBJDUMP FILE [--def FILE.def]
set -u

objdump=${1:?usage: check-dll-imports.sh OBJDUMP FILE [--def FILE.def]}
file=${2:?usage: check-dll-imports.sh OBJDUMP FILE [--def FILE.def]}
def=
[[ ${3:-} == --def ]] && def=${4:?--def needs a file}

# DLLs every supported Windows version has.
system_dlls=(kernel32 user32 gdi32 advapi32 ole32 oleaut32 shell32 shlwapi comctl32 comdlg32 uxtheme
  version rpcrt4 msvcrt ucrtbase bcrypt ws2_32 winscard)
system_list=" ${system_dlls[*]} "

dump=$(LC_ALL=C "$objdump" -p "$file") || { echo "FAIL: cannot read $file"; exit 1; }
failed=0
imports=$(sed -n 's/^[[:space:]]*DLL Name: //p' <<<"$dump")
if [[ -z $imports ]]; then
  echo "FAIL: $file: no import table found"
  failed=1
fi
for dll in $imports; do
  lower=${dll,,}
  if [[ $system_list == *" ${lower%.dll} "* || $lower == api-ms-win-* ]]; then
    echo "ok   imports $dll"
  else
    echo "FAIL imports $dll, which is not a Windows system DLL"
    failed=1
  fi
done

if [[ -n $def ]]; then
  # The export table's names: lines "[ n] Name" after the name pointer table's heading.
  exports=$(sed -n '/Ordinal\/Name Pointer\] Table/,/^$/s/^[[:space:]]*\[ *[0-9]*\] //p' <<<"$dump")
  wanted=$(sed -n '/^EXPORTS/,$ { /^EXPORTS/d; s/;.*//; s/^[[:space:]]*\([^[:space:]]*\).*/\1/p }' "$def")
  [[ -n $wanted ]] || { echo "FAIL: no export named in $def"; failed=1; }
  for name in $wanted; do
    if grep -qxF -- "$name" <<<"$exports"; then
      echo "ok   exports $name"
    else
      echo "FAIL does not export $name (exports: $(tr '\n' ' ' <<<"$exports"))"
      failed=1
    fi
  done
fi
exit $failed
