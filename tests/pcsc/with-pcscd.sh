#!/usr/bin/env bash
# Runs a command against the real PC/SC stack: pcscd with the vpcd virtual reader driver, and
# lumivex-cardsim as the card in the reader. Starts pcscd with a private reader configuration only
# when no pcscd runs, stops only what it started (by pid), and exits with the command's status.
#
#   tests/pcsc/with-pcscd.sh ctest --test-dir build/dev -L pcsc --output-on-failure
#
# Settings (environment):
#   LUMIVEX_SIM_CARD    card in the first slot: mifare1k (default), mifare4k, desfire, none
#   LUMIVEX_SIM_CARD2   card in the second slot: desfire (default), mifare1k, mifare4k, none
#   LUMIVEX_CARDSIM     the lumivex-cardsim program (default build/dev/bin/lumivex-cardsim)
#   LUMIVEX_VPCD_PORT   vpcd port of the first slot (default 40001; the second slot uses the next)
#   LUMIVEX_PCSC_READER, LUMIVEX_PCSC_READER2  the two slots' reader names in a pcscd that already
#                       runs (default "Lumivex Sim 00 00" and "00 01", the names this script gives)
# Given to the command: LUMIVEX_PCSC_HARNESS=1 and the settings above.
# shellcheck disable=SC2317  # stop_pid and cleanup run from the traps
set -euo pipefail

if [ $# -eq 0 ]; then
  echo "usage: $0 COMMAND [ARGS...]" >&2
  exit 2
fi

root=$(cd "$(dirname "$0")/../.." && pwd)
cardsim=${LUMIVEX_CARDSIM:-$root/build/dev/bin/lumivex-cardsim}
port=${LUMIVEX_VPCD_PORT:-40001}
export LUMIVEX_SIM_CARD=${LUMIVEX_SIM_CARD:-mifare1k}
export LUMIVEX_SIM_CARD2=${LUMIVEX_SIM_CARD2:-desfire}
export LUMIVEX_PCSC_READER=${LUMIVEX_PCSC_READER:-Lumivex Sim 00 00}
export LUMIVEX_PCSC_READER2=${LUMIVEX_PCSC_READER2:-Lumivex Sim 00 01}
readonly socket=/run/pcscd/pcscd.comm
readonly wait_seconds=20

say() { echo "with-pcscd: $*" >&2; }

if [ ! -x "$cardsim" ]; then
  say "no card simulator at $cardsim (build it first, or set LUMIVEX_CARDSIM)"
  exit 2
fi

# pcscd always uses the same socket, so only one stack runs per machine: runs of this script take
# turns. A caller that already holds the lock (flock LOCKFILE with-pcscd.sh ...) passes its
# descriptor down: locking that same descriptor again succeeds at once instead of waiting for
# ourselves.
lockfile="${TMPDIR:-/tmp}/lumivex-pcsc.lock"
inherited=""
for fd in /proc/$$/fd/*; do
  if [ "$(readlink "$fd" 2>/dev/null)" = "$(readlink -f "$lockfile")" ]; then
    exec 9>&"${fd##*/}"
    inherited=1
    break
  fi
done
if command -v flock >/dev/null && { [ -n "$inherited" ] || exec 9>>"$lockfile"; }; then
  if ! flock -w 600 9; then
    say "another run of the PC/SC tests holds the lock for too long"
    exit 1
  fi
fi

workdir=$(mktemp -d "${TMPDIR:-/tmp}/lumivex-pcsc.XXXXXX")
started_pcscd=""
cardsim_pids=()

stop_pid() {
  local pid=$1
  kill -TERM "$pid" 2>/dev/null || return 0
  for _ in $(seq 50); do
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
  kill -KILL "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
}

cleanup() {
  local pid
  for pid in "${cardsim_pids[@]}"; do stop_pid "$pid"; done
  if [ -n "$started_pcscd" ]; then stop_pid "$started_pcscd"; fi
  rm -rf "$workdir"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# A live pcscd process (a zombie left by someone else's run does not count).
pcscd_running() {
  local dir state
  for dir in /proc/[0-9]*; do
    [ "$(cat "$dir/comm" 2>/dev/null)" = pcscd ] || continue
    read -r _ _ state _ <"$dir/stat" 2>/dev/null || continue
    [ "$state" != Z ] && return 0
  done
  return 1
}

show_log() {
  say "--- $1"
  tail -n 40 "$1" >&2 || true
}

if pcscd_running; then
  say "using the pcscd that already runs (vpcd expected on port $port)"
else
  if [ "$(id -u)" -ne 0 ]; then
    say "pcscd is not running, and starting it needs root"
    exit 2
  fi
  pcscd_bin=$(command -v pcscd || echo /usr/sbin/pcscd)
  driver=/usr/lib/pcsc/drivers/serial/libifdvpcd.so
  if [ ! -x "$pcscd_bin" ] || [ ! -f "$driver" ]; then
    say "pcscd or the vpcd driver is missing (Debian packages pcscd and vsmartcard-vpcd)"
    exit 2
  fi
  # A socket left by a daemon that died would make the new one refuse to start.
  rm -f "$socket" /run/pcscd/pcscd.pid
  mkdir -p "$workdir/readers" /run/pcscd
  channel=$(printf '0x%X' "$port")
  cat >"$workdir/readers/lumivex-sim" <<CONF
FRIENDLYNAME "Lumivex Sim"
DEVICENAME   /dev/null:$channel
LIBPATH      $driver
CHANNELID    $channel
CONF
  "$pcscd_bin" --foreground --config "$workdir/readers" >"$workdir/pcscd.log" 2>&1 &
  started_pcscd=$!
  for _ in $(seq $((wait_seconds * 10))); do
    [ -S "$socket" ] && break
    kill -0 "$started_pcscd" 2>/dev/null || break
    sleep 0.1
  done
  if [ ! -S "$socket" ]; then
    say "pcscd did not come up"
    show_log "$workdir/pcscd.log"
    exit 1
  fi
  say "started pcscd (pid $started_pcscd)"
fi

# One simulator per slot; each reports "ATR sent" once pcscd has powered its card.
slot_pids=()
slot=0
for card in "$LUMIVEX_SIM_CARD" "$LUMIVEX_SIM_CARD2"; do
  slot_pids[slot]=""
  if [ "$card" != none ]; then
    "$cardsim" --card "$card" --port $((port + slot)) >"$workdir/cardsim$slot.log" 2>&1 &
    cardsim_pids+=($!)
    slot_pids[slot]=$!
  fi
  slot=$((slot + 1))
done

deadline=$((SECONDS + wait_seconds))
slot=0
for card in "$LUMIVEX_SIM_CARD" "$LUMIVEX_SIM_CARD2"; do
  log="$workdir/cardsim$slot.log"
  if [ "$card" != none ]; then
    until grep -q "ATR sent" "$log" 2>/dev/null; do
      problem=""
      kill -0 "${slot_pids[slot]}" 2>/dev/null || problem="the $card card simulator (slot $slot) ended"
      [ $SECONDS -lt $deadline ] ||
        problem="the $card card (slot $slot) did not reach pcscd within $wait_seconds s"
      if [ -n "$problem" ]; then
        say "$problem"
        show_log "$log"
        if [ -n "$started_pcscd" ]; then show_log "$workdir/pcscd.log"; fi
        exit 1
      fi
      sleep 0.1
    done
    say "$card card ready in slot $slot"
  fi
  slot=$((slot + 1))
done

# pcscd has powered the cards once they have sent their ATR, but its reader states follow a moment
# later: wait until it reports every card inserted, or a first connection finds the reader empty.
expected=0
for card in "$LUMIVEX_SIM_CARD" "$LUMIVEX_SIM_CARD2"; do [ "$card" = none ] || expected=$((expected + 1)); done
if command -v pcsc_scan >/dev/null; then
  until [ "$(timeout 5 pcsc_scan -c -n 2>/dev/null | grep -c "Card inserted")" -ge "$expected" ]; do
    if [ $SECONDS -ge $deadline ]; then
      say "pcscd did not report the cards inserted within $wait_seconds s"
      exit 1
    fi
    sleep 0.1
  done
else
  sleep 1
fi

export LUMIVEX_PCSC_HARNESS=1
set +e
"$@"
status=$?
set -e
if [ $status -ne 0 ]; then
  for log in "$workdir"/cardsim*.log; do show_log "$log"; done
fi
exit $status
