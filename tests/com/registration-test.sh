#!/usr/bin/env bash
# regsvr32 under Wine: machine-wide and per-user registration write what a client needs, and
# unregistration leaves no key of ours behind.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tests/com/wine-env.sh
source "$here/wine-env.sh"
lumivex_wine_env || exit $?
source_dir=$(cd "$here/../.." && pwd)

checks=0
failed=0
check() {  # check DESCRIPTION COMMAND...
  local what=$1
  shift
  checks=$((checks + 1))
  if "$@" >/dev/null 2>&1; then
    echo "ok   $what"
  else
    failed=$((failed + 1))
    echo "FAIL $what"
  fi
}

# The identity of the component, as the surface declares it.
identity=$source_dir/component/surface/identity.h
ids=$(grep -oE '"[0-9A-F]{8}-[0-9A-F-]{27}"' "$identity" | tr -d '"')
[[ $(wc -l <<<"$ids") -eq 5 ]] || { echo "cannot read the GUIDs from $identity" >&2; exit 1; }
encoder_clsid=$(grep kEncoderClassId "$identity" | grep -oE '[0-9A-F]{8}-[0-9A-F-]{27}')
library=$(grep kLibraryId "$identity" | grep -oE '[0-9A-F]{8}-[0-9A-F-]{27}')
pattern="$(paste -sd'|' <<<"$ids")|Orbanet_Lumivex_BL"

# Every line of a registry branch that mentions one of our GUIDs or ProgIDs.
ours() {  # ours ROOT
  local file
  file=$(mktemp --suffix=.reg)
  wine reg export "$1" "$(winepath -w "$file")" /y >/dev/null 2>&1
  iconv -f UTF-16LE -t UTF-8 "$file" 2>/dev/null | tr -d '\r' | grep -iE "$pattern"
  rm -f "$file"
}
none_in() { [[ -z $(ours "$1") ]]; }
has_value() {  # has_value KEY NAME DATA
  wine reg query "$1" /v "$2" 2>/dev/null | tr -d '\r' | grep -qF "$3"
}
has_default() {  # has_default KEY DATA
  wine reg query "$1" /ve 2>/dev/null | tr -d '\r' | grep -qF "$2"
}
machine='HKLM\Software\Classes'
user='HKCU\Software\Classes'
clsid_key="$machine\\CLSID\\{$encoder_clsid}"

# ---- machine-wide (DllRegisterServer), done by the environment above ----
check "InprocServer32 names the DLL" has_default "$clsid_key\\InprocServer32" "Orbanet_Lumivex_BL.dll"
check "ThreadingModel Apartment" has_value "$clsid_key\\InprocServer32" ThreadingModel Apartment
check "the class names its ProgID" has_default "$clsid_key\\ProgID" "Orbanet_Lumivex_BL.Encoder"
check "the class names its type library" has_default "$clsid_key\\TypeLib" "{$library}"
check "ProgID Orbanet_Lumivex_BL.Encoder" has_default "$machine\\Orbanet_Lumivex_BL.Encoder\\CLSID" "{$encoder_clsid}"
check "ProgID Orbanet_Lumivex_BL.CError" wine reg query "$machine\\Orbanet_Lumivex_BL.CError\\CLSID"
check "the type library is registered" has_default "$machine\\TypeLib\\{$library}\\7.1\\0\\win$LUMIVEX_WIDTH" "Orbanet_Lumivex_BL.dll"
check "regsvr32 /u" wine "$LUMIVEX_REGSVR32" /s /u "$LUMIVEX_DLL"
check "no key of ours is left in HKLM" none_in 'HKLM\Software'
check "nor in HKCU" none_in 'HKCU\Software'

# ---- per user (DllInstall "user"): no administrator rights needed, HKCU only ----
check "regsvr32 /n /i:user" wine "$LUMIVEX_REGSVR32" /s /n /i:user "$LUMIVEX_DLL"
check "the class is registered under HKCU" has_default "$user\\CLSID\\{$encoder_clsid}\\InprocServer32" "Orbanet_Lumivex_BL.dll"
check "the type library under HKCU" has_default "$user\\TypeLib\\{$library}\\7.1\\0\\win$LUMIVEX_WIDTH" "Orbanet_Lumivex_BL.dll"
check "nothing of ours under HKLM" none_in 'HKLM\Software'
echo "SKIPPED creating an object from the per-user registration: Wine reads classes from HKLM only"
check "regsvr32 /u /n /i:user" wine "$LUMIVEX_REGSVR32" /s /u /n /i:user "$LUMIVEX_DLL"
check "no key of ours is left in HKCU" none_in 'HKCU\Software'
refuses() { ! "$@"; }
check "a command line other than user is refused" refuses wine "$LUMIVEX_REGSVR32" /s /n /i:bogus "$LUMIVEX_DLL"
check "and writes nothing" none_in 'HKLM\Software'

# Back to the machine-wide registration the other tests use.
check "regsvr32 again" wine "$LUMIVEX_REGSVR32" /s "$LUMIVEX_DLL"
echo "SUMMARY registration: $checks checks, $failed failed, 1 skipped"
exit $((failed > 100 ? 100 : failed))
