#!/usr/bin/env bash
# lumivex script through pcscd and the virtual MIFARE card: the tool's exit statuses for a session
# with a failed call and for a script with a syntax error, and a co-process answering each line as
# it comes through a real pipe. (What each answer holds, and that a script with a syntax error runs
# nothing, are the script runner's unit tests.)
set -euo pipefail
lumivex=$1
reader="Lumivex Sim 00 00"
fail() { echo "FAIL: $*" >&2; exit 1; }

# The component's tests before this one use T=0, and a powered card keeps the protocol it was
# first given until it is reset: the tool (T=1 by default) asks for T=0 here.
tool=("$lumivex" --protocol 1)

out=$("${tool[@]}" --reader "$reader" --json script - <<'SCRIPT'
OpenEncoder 0
MifareWriteDataBloc 9 FFFFFFFFFFFF 1 "01 23 45 67 89 AB CD EF 01 23 45 67 89 AB CD EF"
MifareReadDataBloc 9 FFFFFFFFFFFF 1 ?
MifareReadDataBloc 200 FFFFFFFFFFFF 1 ?
CloseEncoder
SCRIPT
) && status=0 || status=$?
echo "$out"
[ "$status" -eq 1 ] || fail "one call fails, so the exit status is 1 (got $status)"
grep -q '"member": "MifareReadDataBloc", "result": 0, "outputs": {"BlocContents": "0123456789ABCDEF0123456789ABCDEF"}' <<<"$out" \
  || fail "read back"

# A script file with a syntax error on line 3: exit status 2.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/bad.txt" <<'SCRIPT'
OpenEncoder 0
MifareWriteDataBloc 9 FFFFFFFFFFFF 1 00000000000000000000000000000000
MifareReadDataBloc 9 FFFFFFFFFFFF 1
SCRIPT
if "${tool[@]}" --reader "$reader" script "$work/bad.txt" >/dev/null 2>"$work/err.txt"
then fail "a syntax error must fail"; else status=$?; fi
[ "$status" -eq 2 ] || fail "syntax error exit status 2 (got $status)"
grep -q "^line 3: " "$work/err.txt" || fail "the error names line 3"

# A co-process: each line is answered before the next is sent, standard input still open.
coproc station { "${tool[@]}" --reader "$reader" --json script -; }
echo "OpenEncoder 0" >&"${station[1]}"
read -r -t 20 answer <&"${station[0]}" || fail "no answer to the first line while input stays open"
[ "$answer" = '{"member": "OpenEncoder", "result": 0, "outputs": {}}' ] || fail "open: $answer"
echo "MifareReadDataBloc 9 FFFFFFFFFFFF 1 ?" >&"${station[1]}"
read -r -t 20 answer <&"${station[0]}" || fail "no answer to the second line"
grep -q '"BlocContents": "0123456789ABCDEF0123456789ABCDEF"' <<<"$answer" || fail "read: $answer"
exec {station[1]}>&-
wait "$station_PID" || fail "the co-process ends with status 0 when every call succeeded"
echo "cli script: ok"
