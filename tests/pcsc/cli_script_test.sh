#!/usr/bin/env bash
# lumivex script through pcscd and the virtual MIFARE card: the JSON answers of a short session,
# and a syntax error that must stop the script before anything reaches the card.
set -euo pipefail
lumivex=$1
reader="Lumivex Sim 00 00"
fail() { echo "FAIL: $*" >&2; exit 1; }

out=$("$lumivex" --reader "$reader" --json script - <<'SCRIPT'
OpenEncoder 0
ReadSerialNumber ?
MifareWriteDataBloc 9 FFFFFFFFFFFF 1 "01 23 45 67 89 AB CD EF 01 23 45 67 89 AB CD EF"
MifareReadDataBloc 9 FFFFFFFFFFFF 1 ?
MifareReadDataBloc 200 FFFFFFFFFFFF 1 ?
Get EncoderState
CloseEncoder
SCRIPT
) && status=0 || status=$?
echo "$out"
[ "$status" -eq 1 ] || fail "one call fails, so the exit status is 1 (got $status)"
grep -qx '{"member": "OpenEncoder", "result": 0, "outputs": {}}' <<<"$out" || fail "open"
grep -q '"member": "ReadSerialNumber", "result": 0, "outputs": {"SerialNumber": "[0-9A-F]\{8\}"}' <<<"$out" \
  || fail "serial number"
grep -q '"member": "MifareReadDataBloc", "result": 0, "outputs": {"BlocContents": "0123456789ABCDEF0123456789ABCDEF"}' <<<"$out" \
  || fail "read back"
grep -q '"result": 2, .*"NumberHex": "90010F04".*"RdrRetCode": "6A82"' <<<"$out" || fail "block outside the card"
grep -qx '{"member": "EncoderState", "value": 3}' <<<"$out" || fail "state"

# A syntax error on line 3: exit status 2, nothing run (the card keeps its block).
if "$lumivex" --reader "$reader" script - >/dev/null 2>err.txt <<'SCRIPT'
OpenEncoder 0
MifareWriteDataBloc 9 FFFFFFFFFFFF 1 00000000000000000000000000000000
MifareReadDataBloc 9 FFFFFFFFFFFF 1
SCRIPT
then fail "a syntax error must fail"; else status=$?; fi
[ "$status" -eq 2 ] || fail "syntax error exit status 2 (got $status)"
grep -q "^line 3: " err.txt || fail "the error names line 3"
rm -f err.txt
out=$("$lumivex" --reader "$reader" script - <<'SCRIPT'
OpenEncoder 0
MifareReadDataBloc 9 FFFFFFFFFFFF 1 ?
SCRIPT
)
grep -q "BlocContents = 0123456789ABCDEF0123456789ABCDEF" <<<"$out" || fail "nothing was written"
echo "cli script: ok"
