#!/usr/bin/env bash
# lumivex test-reader and configure through pcscd and the virtual cards: the reader test succeeds
# on a card, fails on a reader that does not exist, and the configuration chosen through a pipe
# comes back as the Parameters text.
set -euo pipefail
lumivex=$1
reader=${LUMIVEX_PCSC_READER:-Lumivex Sim 00 00}
reader2=${LUMIVEX_PCSC_READER2:-Lumivex Sim 00 01}
fail() { echo "FAIL: $*" >&2; exit 1; }

# pcscd keeps the protocol a card was first connected with until the card is reset, so which of
# T=0 and T=1 works depends on the tests run before: exactly one succeeds, the other is refused.
good=""
for protocol in 2 1; do
  if out=$("$lumivex" --reader "$reader" --protocol "$protocol" test-reader); then
    [ -z "$good" ] || fail "both protocols succeeded"
    good=$protocol
    [ "$(tail -n 1 <<<"$out")" = "<< Successful test >>" ] || fail "the success line comes last"
    grep -qx "Card available in the encoder." <<<"$out" || fail "the card is reported"
    grep -qx "Encoder type: $reader" <<<"$out" || fail "the reader's name is shown"
  else
    grep -q "^Error 0x8010000F: .*(SCARD_E_PROTO_MISMATCH)" <<<"$out" || fail "refused: $out"
    [ "$(tail -n 1 <<<"$out")" = "<< Test failed >>" ] || fail "the failure line comes last"
  fi
  echo "$out"
done
[ -n "$good" ] || fail "no protocol succeeded"

if out=$("$lumivex" --reader "No Such Reader" --protocol "$good" test-reader --language francais); then
  fail "test-reader on a missing reader must fail"
fi
echo "$out"
[ "$(tail -n 1 <<<"$out")" = "<< Echec du test >>" ] || fail "the failure line comes last"
grep -q "^Erreur 0x801000" <<<"$out" || fail "the error line shows the PC/SC result in hexadecimal"
grep -q "Test réussi" <<<"$out" && fail "no success line after a failure"

# From the second reader to the first (the list: unknown entry, then both readers) with the
# protocol that works, tested, then confirmed.
out=$(printf '2\n%s\n1\n\n\n2\n' "$good" | "$lumivex" --reader "$reader2" configure) ||
  fail "configure: exit $?"
echo "$out"
grep -qx "Device=$reader" <<<"$out" || fail "the chosen reader"
grep -qx "Protocol=$good" <<<"$out" || fail "the chosen protocol"
grep -qx "<< Successful test >>" <<<"$out" || fail "the test inside the dialog"
echo "cli dialogs: ok"
