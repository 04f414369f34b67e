#!/usr/bin/env bash
# The message bus and the trace log end to end: rdpub fed on standard input with the example
# module, the companion kwtracelogo following the shared-memory block, its --dump mode, and its
# saved file after the host ends normally and after the host is killed.
set -euo pipefail
: "${KW_RDPUB:?}" "${KW_MSGDEMO:?}" "${KW_TRACELOGO:?}"

work=$(mktemp -d)
pids=()
cleanup() {
  for p in "${pids[@]}"; do kill -9 "$p" 2>/dev/null || true; done
  for _ in 1 2 3 4 5; do rm -rf "$work" 2>/dev/null && break; sleep 0.2; done
}
trap cleanup EXIT
export KWRD_USER_DIR=$work/user
export ASAN_OPTIONS=detect_leaks=0
fail() { echo "FAIL: $*" >&2; exit 1; }

# Lines of a file without CR.
lines_of() { tr -d '\r' < "$1"; }

# The block of a host process: the /dev/shm entry whose first four bytes hold its pid.
block_of() {
  local pid=$1 f
  for f in /dev/shm/KWRDTraceLogo-*; do
    [[ -e $f ]] || continue
    [[ $(od -An -tu4 -N4 "$f" 2>/dev/null | tr -d ' ') == "$pid" ]] && { basename "$f"; return; }
  done
}

wait_for() {  # wait_for SECONDS COMMAND...
  local end=$((SECONDS + $1)); shift
  until "$@"; do ((SECONDS < end)) || return 1; sleep 0.05; done
}

# ---- 1. a whole session on standard input
out=$(printf '%s\n' APPLOAD "$KW_MSGDEMO" MSGDEMO 5 3 MsgWatchers SaveLogo "$work/first.log" \
  ClearLogo SaveLogo "$work/second.log" TraceMsgLogo n MSGDEMO 5 4 QUIT | "$KW_RDPUB")
grep -q 'ShowMsg \[1(9)\]' <<<"$out" || fail "watcher list: $out"
grep -q 'MsgDemo \[5(0)\]' <<<"$out" || fail "MsgDemo not listed: $out"
grep -q '结果: 103' <<<"$out" || fail "first send result: $out"
grep -q '结果: 104' <<<"$out" || fail "second send result: $out"
expected="<RDMsg_SendMessage1 type='5' msg='3' from=''>
<RDMsg_Send1To dest='MsgDemo'>
</RDMsg_Send1To>
</RDMsg_SendMessage1>"
[[ $(lines_of "$work/first.log") == "$expected" ]] || fail "first file: $(cat "$work/first.log")"
[[ -f $work/second.log && ! -s $work/second.log ]] || fail "second file is not empty"


# ---- 2. two live hosts: two blocks, --dump while waiting, the companion's file after SIGKILL
export KWRD_TRACELOGO_OUTPUT=$work/live.txt
start_host() {  # start_host FIFO -> pid in $host
  mkfifo "$1"
  "$KW_RDPUB" <"$1" >"$1.out" 2>&1 &
  host=$!
  pids+=("$host")
}
start_host "$work/in1"; host1=$host
start_host "$work/in2"; host2=$host
exec 3>"$work/in1" 4>"$work/in2"
printf '%s\n' APPLOAD "$KW_MSGDEMO" MSGDEMO 5 3 >&3
printf '%s\n' APPLOAD "$KW_MSGDEMO" MSGDEMO 5 7 >&4
wait_for 20 grep -q '结果: 103' "$work/in1.out" || fail "host 1 did not answer: $(cat "$work/in1.out")"
wait_for 20 grep -q '结果: 107' "$work/in2.out" || fail "host 2 did not answer"
name1=$(block_of "$host1"); name2=$(block_of "$host2")
[[ -n $name1 && -n $name2 && $name1 != "$name2" ]] || fail "blocks: '$name1' '$name2'"
[[ $(stat -c %a "/dev/shm/$name1") == 600 ]] || fail "block mode"

# The companion runs in a process group of its own: a Ctrl-C meant for the host's terminal
# (SIGINT to the foreground group) must not end it and take the block's name with it.
pgid_of() { ps -o pgid= -p "$1" | tr -d ' '; }
companion1=$(ps -o pid= --ppid "$host1" | tr -d ' ' | head -n 1)
[[ -n $companion1 ]] || fail "no companion of host 1"
[[ $(pgid_of "$companion1") != "$(pgid_of "$host1")" ]] || fail "companion shares the host's process group"

dump=$("$KW_TRACELOGO" --dump "$name1")
[[ $dump == "$expected" ]] || fail "dump: $dump"

kill -9 "$host1"
wait "$host1" 2>/dev/null || true
wait_for 10 compgen -G "$work/user/logo/TraceLogo-*-$host1.log" >/dev/null || fail "no log after kill"
[[ $(lines_of "$work/user/logo/TraceLogo-"*"-$host1.log") == "$expected" ]] || fail "log after kill"
wait_for 10 test ! -e "/dev/shm/$name1" || fail "block of the killed host left behind"
grep -qF "</RDMsg_SendMessage1>" "$work/live.txt" || fail "companion printed nothing live"

printf 'QUIT\n' >&4
exec 3>&- 4>&-
wait "$host2" || fail "host 2 exit status"
# After a normal end the companion has read every line before the host wiped the block: the
# saved file ends with the host-end line and the unload line.
wait_for 10 compgen -G "$work/user/logo/TraceLogo-*-$host2.log" >/dev/null || fail "no log of host 2"
log2=$(lines_of "$work/user/logo/TraceLogo-"*"-$host2.log")
grep -qF "<RDMsg_SendMessage1 type='5' msg='7' from=''>" <<<"$log2" || fail "log of host 2"
[[ $(tail -n 1 <<<"$log2") == "<RDPubUnloaded />" ]] || fail "last line of host 2: $log2"
[[ $(tail -n 2 <<<"$log2" | head -n 1) == "<AutoCADQuited msg=0x10  time="* ]] ||
  fail "host-end line of host 2: $log2"
echo "msg_e2e: ok"
