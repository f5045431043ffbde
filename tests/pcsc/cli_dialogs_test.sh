#!/usr/bin/env bash
# lumivex test-reader and configure through pcscd and the virtual cards: the reader test succeeds
# on a card, fails on a reader that does not exist, and the configuration chosen through a pipe
# comes back as the Parameters text.
set -euo pipefail
lumivex=$1
reader=${LUMIVEX_PCSC_READER:-Lumivex Sim 00 00}
reader2=${LUMIVEX_PCSC_READER2:-Lumivex Sim 00 01}
fail() { echo "FAIL: $*" >&2; exit 1; }

# Contactless cards behind vpcd speak T=1.
out=$("$lumivex" --reader "$reader" --protocol 2 test-reader) || fail "test-reader on a card: exit $?"$'\n'"$out"
echo "$out"
[ "$(tail -n 1 <<<"$out")" = "<< Successful test >>" ] || fail "the success line comes last"
grep -qx "Card available in the encoder." <<<"$out" || fail "the card is reported"
grep -qx "Encoder type: $reader" <<<"$out" || fail "the reader's name is shown"

if out=$("$lumivex" --reader "No Such Reader" --protocol 2 test-reader --language francais); then
  fail "test-reader on a missing reader must fail"
fi
echo "$out"
[ "$(tail -n 1 <<<"$out")" = "<< Echec du test >>" ] || fail "the failure line comes last"
grep -q "^Erreur 0x801000" <<<"$out" || fail "the error line shows the PC/SC result in hexadecimal"
grep -q "Test réussi" <<<"$out" && fail "no success line after a failure"

# The second reader, T=1, tested, then confirmed (the list: unknown entry, then both readers).
out=$(printf '3\n2\n1\n\n\n2\n' | "$lumivex" --reader "$reader" configure) || fail "configure: exit $?"
echo "$out"
grep -qx "Device=$reader2" <<<"$out" || fail "the chosen reader"
grep -qx "Protocol=2" <<<"$out" || fail "the chosen protocol"
grep -qx "<< Successful test >>" <<<"$out" || fail "the test inside the dialog"
echo "cli dialogs: ok"
