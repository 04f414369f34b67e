#!/usr/bin/env bash
# The trace companion kwtracelogo against hostile and broken blocks, and against its host:
# blocks of other users, of other modes, FIFOs named like blocks, escape sequences in lines, a
# block truncated while followed; a host that quits at once (the companion must still save);
# a companion that falls behind a flood (every gap marked).
set -euo pipefail
: "${KW_RDPUB:?}" "${KW_MSGDEMO:?}" "${KW_TRACELOGO:?}"

work=$(mktemp -d)
pids=()
blocks=()
cleanup() {
  for p in "${pids[@]}"; do kill -9 "$p" 2>/dev/null || true; done
  for b in "${blocks[@]}"; do rm -f "/dev/shm/$b"; done
  for _ in 1 2 3 4 5; do rm -rf "$work" 2>/dev/null && break; sleep 0.2; done
}
trap cleanup EXIT
export ASAN_OPTIONS=detect_leaks=0
fail() { echo "FAIL: $*" >&2; exit 1; }
lines_of() { tr -d '\r' < "$1"; }
wait_for() {  # wait_for SECONDS COMMAND...
  local end=$((SECONDS + $1)); shift
  until "$@"; do ((SECONDS < end)) || return 1; sleep 0.05; done
}
le32() { printf '\\x%02x\\x%02x\\x%02x\\x%02x' $(($1 & 255)) $(($1 >> 8 & 255)) $(($1 >> 16 & 255)) $(($1 >> 24 & 255)); }
u16() { printf '%s' "$1" | iconv -f UTF-8 -t UTF-16LE; printf '\0\0'; }

# make_block NAME PID FOLDER LINE...: a block as a host writes it, mode 0600, in /dev/shm.
make_block() {
  local name=$1 pid=$2 folder=$3 f=/dev/shm/$1; shift 3
  blocks+=("$name")
  (umask 077; { printf "$(le32 "$pid")"; printf '\x02\0\0\0'; u16 "$folder"
    for line in "$@"; do u16 "$line"; done; } > "$f")
  truncate -s 1000268 "$f"
}

# A process id that is surely gone.
sh -c 'exit 0' & gone=$!; wait "$gone"
mkdir -p "$work/own/logo"

# ---- 1. blocks that are not the caller's own private ones are refused, and nothing is made
make_block "KWRDTraceLogo-e2e$$-1" "$gone" "$work/foreign/logo" "planted"
if chown 65534:65534 "/dev/shm/KWRDTraceLogo-e2e$$-1" 2>/dev/null; then  # root only
  status=0; timeout 10 "$KW_TRACELOGO" "KWRDTraceLogo-e2e$$-1" 2>"$work/err" || status=$?
  [[ $status == 1 ]] || fail "foreign block: status $status"
  grep -qF ': it belongs to another user' "$work/err" || fail "foreign block: $(cat "$work/err")"
  [[ ! -e $work/foreign ]] || fail "the folder named in a foreign block was created"
  [[ -e /dev/shm/KWRDTraceLogo-e2e$$-1 ]] || fail "a foreign block was removed"
fi

make_block "KWRDTraceLogo-e2e$$-2" "$gone" "$work/own/logo" "shared"
chmod 0644 "/dev/shm/KWRDTraceLogo-e2e$$-2"
status=0; timeout 10 "$KW_TRACELOGO" --dump "KWRDTraceLogo-e2e$$-2" 2>"$work/err" || status=$?
[[ $status == 1 ]] && grep -qF ': its mode is not 0600' "$work/err" || fail "mode 0644: $status"

blocks+=("KWRDTraceLogo-e2e$$-3")
mkfifo -m 0600 "/dev/shm/KWRDTraceLogo-e2e$$-3"
status=0; timeout 10 "$KW_TRACELOGO" --dump "KWRDTraceLogo-e2e$$-3" 2>"$work/err" || status=$?
[[ $status == 1 ]] || fail "--dump on a FIFO: status $status (124: it hung)"
grep -qF ': it is not a shared-memory object' "$work/err" || fail "FIFO: $(cat "$work/err")"

# ---- 2. escape sequences in lines never reach the terminal
make_block "KWRDTraceLogo-e2e$$-4" "$gone" "$work/own/logo" $'\e]0;owned\a\e[2Jtext' $'a\rb'
dump=$("$KW_TRACELOGO" --dump "KWRDTraceLogo-e2e$$-4")
[[ $dump == '\x1B]0;owned\x07\x1B[2Jtext'$'\n''a\x0Db' ]] || fail "dump not escaped: $dump"

# ---- 3. a block truncated while followed ends the following, and what was read is saved
tail -f /dev/null & host=$!; pids+=("$host")  # a live process standing for the host
long=$(printf 'x%.0s' {1..3000})  # puts the last line on the block's second page
make_block "KWRDTraceLogo-e2e$$-5" "$host" "$work/own/logo" "$long" "before the cut"
: >"$work/follow.out"
ASAN_OPTIONS=detect_leaks=0:handle_sigbus=0 "$KW_TRACELOGO" "KWRDTraceLogo-e2e$$-5" \
  >"$work/follow.out" 2>"$work/follow.err" & follower=$!; pids+=("$follower")
wait_for 10 grep -q "before the cut" "$work/follow.out" || fail "the follower printed nothing"
truncate -s 4096 "/dev/shm/KWRDTraceLogo-e2e$$-5"
status=0; timeout 10 tail --pid="$follower" -f /dev/null || status=124
[[ $status == 0 ]] || fail "the follower of a truncated block went on"
wait "$follower" || status=$?
[[ $status == 1 ]] || fail "truncated block: status $status (135: SIGBUS)"
grep -qF 'was truncated' "$work/follow.err" || fail "truncated: $(cat "$work/follow.err")"
[[ $(lines_of "$work/own/logo/TraceLogo-"*"-$host.log") == "$long"$'\n'"before the cut" ]] ||
  fail "the lines read before the cut were not saved"
kill "$host"

# ---- 4. a host that quits at once: its companion is asked to finish only once it is ready, so
# every run leaves the host's last lines, in a file only the user can read
for run in 1 2 3 4 5 6 7 8 9 10; do
  export KWRD_USER_DIR=$work/quit$run
  printf 'QUIT\n' | "$KW_RDPUB" >/dev/null
  log=$(compgen -G "$KWRD_USER_DIR/logo/TraceLogo-*.log") || fail "run $run of QUIT left no log"
  [[ $(stat -c %a "$log") == 600 ]] || fail "log mode $(stat -c %a "$log")"
  [[ $(tail -n 1 <(lines_of "$log")) == "<RDPubUnloaded />" ]] || fail "run $run: $(cat "$log")"
done

# ---- 5. a companion that falls behind (stopped while the host floods the trace through
# several wipes) marks every gap: message numbers jump only where the mark is
export KWRD_USER_DIR=$work/flood
mkfifo "$work/in"
"$KW_RDPUB" <"$work/in" >"$work/out" 2>&1 & host=$!; pids+=("$host")
exec 3>"$work/in"
printf '%s\n' APPLOAD "$KW_MSGDEMO" MSGDEMO 5 0 >&3
wait_for 20 grep -q '结果: 100' "$work/out" || fail "the host did not answer"
companion=$(ps -o pid= --ppid "$host" | tr -d ' ' | head -n 1)
[[ -n $companion ]] || fail "no companion"
kill -STOP "$companion"
for ((i = 1; i <= 10000; i++)); do printf 'MSGDEMO\n5\n%d\n' "$i"; done >&3
wait_for 60 grep -q '结果: 10100' "$work/out" || fail "the flood did not end"
kill -CONT "$companion"
printf 'MSGDEMO\n5\n10001\nQUIT\n' >&3
exec 3>&-
wait "$host" || fail "host exit status"
log=$(compgen -G "$KWRD_USER_DIR/logo/TraceLogo-*.log") || fail "no log after the flood"
lines_of "$log" | awk -v mark='… lines lost …' -v send="<RDMsg_SendMessage1 type='5' msg='" '
  $0 == mark { marks++; gap = 1; next }
  index($0, send) == 1 {
    n = substr($0, length(send) + 1); n = substr(n, 1, index(n, "\047") - 1) + 0
    if (seen && n != last + 1 && !gap) { print "unmarked jump " last " -> " n; bad = 1 }
    last = n; seen = 1; gap = 0
  }
  END { if (!marks) { print "no gap marked"; bad = 1 }
        if (last != 10001) { print "last message " last; bad = 1 }
        exit bad }' || fail "gaps in $log"
echo "tracelogo_e2e: ok"
