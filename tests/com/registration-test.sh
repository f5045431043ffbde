#!/usr/bin/env bash
# regsvr32 under Wine: machine-wide and per-user registration write what a client needs, and
# unregistration leaves no key of ours behind.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=tests/com/wine-prefix.sh
source "$here/wine-prefix.sh"
lumivex_wine_env || exit $?

checks=0
failed=0
check() {  # check DESCRIPTION COMMAND...: on a failure, what the command printed follows
  local what=$1 output
  shift
  checks=$((checks + 1))
  if output=$("$@" 2>&1); then
    echo "ok   $what"
  else
    failed=$((failed + 1))
    echo "FAIL $what"
    [[ -z $output ]] || sed 's/^/       /' <<<"$output"
  fi
}

# The identity of the component, as the surface declares it.
identity=$LUMIVEX_SOURCE/component/surface/identity.h
guid() { grep "$1" "$identity" | grep -oE '[0-9A-F]{8}-[0-9A-F-]{27}'; }
encoder=$(guid kEncoderClassId) library=$(guid kLibraryId)
interfaces="$(guid kEncoderInterfaceId) $(guid kRecordInterfaceId)"
ids=$(grep -oE '"[0-9A-F]{8}-[0-9A-F-]{27}"' "$identity" | tr -d '"')
[[ $(wc -l <<<"$ids") -eq 5 && -n $encoder && -n $library ]] ||
  { echo "cannot read the GUIDs from $identity" >&2; exit 1; }
pattern="$(paste -sd'|' <<<"$ids")|Orbanet_Lumivex_BL"

# Every line of a registry branch that mentions one of our GUIDs or ProgIDs.
ours() {  # ours ROOT
  local file
  file=$(mktemp --suffix=.reg)
  wine reg export "$1" "$(winepath -w "$file")" /y >/dev/null 2>&1
  iconv -f UTF-16LE -t UTF-8 "$file" 2>/dev/null | tr -d '\r' | grep -iE "$pattern"
  rm -f "$file"
}
none_in() {  # prints what is left
  local left
  left=$(ours "$1")
  [[ -z $left ]] || { echo "$left"; return 1; }
}
refuses() { ! "$@"; }
regsvr32() { wine "$LUMIVEX_REGSVR32" /s "$@" "$LUMIVEX_DLL"; }
value_is() {  # value_is KEY NAME DATA (NAME empty: the key's default value)
  local which=(/ve)
  [[ -n $2 ]] && which=(/v "$2")
  wine reg query "$1" "${which[@]}" 2>/dev/null | tr -d '\r' | grep -qF "$3"
}
# has ROOT: every value a client needs is below ROOT\Software\Classes.
has() {
  local clsid="CLSID\\{$encoder}" lib="TypeLib\\{$library}\\7.1\\0\\win$LUMIVEX_WIDTH" iid
  local what key name data
  while IFS='|' read -r what key name data; do
    check "$what" value_is "$1\\Software\\Classes\\$key" "$name" "$data"
  done <<EOF
InprocServer32 names the DLL|$clsid\\InprocServer32||Orbanet_Lumivex_BL.dll
ThreadingModel Apartment|$clsid\\InprocServer32|ThreadingModel|Apartment
the class names its ProgID|$clsid\\ProgID||Orbanet_Lumivex_BL.Encoder
the class names its type library|$clsid\\TypeLib||{$library}
ProgID Orbanet_Lumivex_BL.Encoder|Orbanet_Lumivex_BL.Encoder\\CLSID||{$encoder}
ProgID Orbanet_Lumivex_BL.CError|Orbanet_Lumivex_BL.CError\\CLSID||{
the type library for win$LUMIVEX_WIDTH|$lib||Orbanet_Lumivex_BL.dll
$(for iid in $interfaces; do
    # Marshalled by the automation marshaller from the type library, for hosts of other apartments.
    echo "interface $iid: marshaller|Interface\\{$iid}\\ProxyStubClsid32||{00020424-0000-0000-C000-000000000046}"
    echo "interface $iid: type library|Interface\\{$iid}\\TypeLib||{$library}"
  done)
EOF
}

# ---- machine-wide (DllRegisterServer), done by lumivex_wine_env above ----
has HKLM
check "regsvr32 /u" regsvr32 /u
check "no key of ours is left in HKLM" none_in 'HKLM\Software'
check "nor in HKCU" none_in 'HKCU\Software'

# ---- per user (DllInstall "user"): no administrator rights needed, HKCU only ----
check "regsvr32 /n /i:user" regsvr32 /n /i:user
has HKCU
check "nothing of ours under HKLM" none_in 'HKLM\Software'
echo "SKIPPED creating an object from the per-user registration: Wine reads classes from HKLM only"
check "regsvr32 /u /n /i:user" regsvr32 /u /n /i:user
check "no key of ours is left in HKCU" none_in 'HKCU\Software'
check "a command line other than user is refused" refuses regsvr32 /n /i:bogus
check "and writes nothing" none_in 'HKLM\Software'

# Back to the machine-wide registration the other tests use.
check "regsvr32 again" regsvr32
echo "SUMMARY registration: $checks checks, $failed failed, 1 skipped"
exit $((failed > 100 ? 100 : failed))
