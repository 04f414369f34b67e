#!/usr/bin/env bash
# Ctrl-C at rdpub's terminal, typed into a tmux pane: it drops the partly typed command line,
# cancels the prompt of a running command (RTCAN) with "*取消*" on a line of its own, and never
# ends rdpub, so QUIT still unloads the modules and exits with status 0.
set -euo pipefail
: "${KW_RDPUB:?}" "${KW_HOSTPROBE:?}"
if ! command -v tmux >/dev/null; then
  echo "SKIP: tmux is not installed"
  exit 77
fi

work=$(mktemp -d)
tmx() { tmux -L "kwsigint-$$" -f /dev/null "$@"; }
cleanup() {
  tmx kill-server 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
fail() {
  echo "FAIL: $*" >&2
  echo "--- screen:" >&2
  screen >&2 || true
  exit 1
}

screen() { tmx capture-pane -t t -p | sed -e 's/ *$//' -e '/^$/d'; }

# Waits until the screen ends with the prompt $1 after $2 lines "*取消*" and, when $3 is
# "reading", until rdpub edits the line (the terminal has no interrupt character only then), so the keys
# sent next reach the line editor rather than the terminal driver.
wait_for() {
  local end=$((SECONDS + 20)) tty
  tty=$(tmx display-message -p -t t '#{pane_tty}')
  until [[ $(screen | tail -n 1) == "$1" && $(screen | grep -c '^\*取消\*$') == "$2" ]] &&
    { [[ ${3:-} != reading ]] || stty -a <"$tty" | grep -q 'intr = <undef>'; }; do
    ((SECONDS < end)) || fail "no prompt '$1' after $2 cancels"
    sleep 0.05
  done
}

tmx new-session -d -s t -x 100 -y 40 \
  "env KWRD_USER_DIR='$work/user' ASAN_OPTIONS=detect_leaks=0 '$KW_RDPUB' \
   --module '$KW_HOSTPROBE'; echo \"EXIT=\$?\"; sleep 60"
wait_for "命令:" 0 reading
tmx send-keys -t t -l "ProbeAs"
tmx send-keys -t t C-c
wait_for "命令:" 1 reading
tmx send-keys -t t "ProbeAsk" Enter
wait_for "记录[记录(Y)/不记录(N)]<Y>:" 1 reading
tmx send-keys -t t -l "N"
tmx send-keys -t t C-c
wait_for "命令:" 2 reading
tmx send-keys -t t "ProbeInt" Enter
wait_for "int:" 2 reading
tmx send-keys -t t C-c
wait_for "命令:" 3 reading
tmx send-keys -t t C-c
wait_for "命令:" 4 reading
tmx send-keys -t t "QUIT" Enter
wait_for "EXIT=0" 4

expected="probe: loaded
命令: ProbeAs
*取消*
命令: ProbeAsk
记录[记录(Y)/不记录(N)]<Y>:N
*取消*
probe: kword -5002 ''
命令: ProbeInt
int:
*取消*
probe: int -5002 0
命令:
*取消*
命令: QUIT
probe: WM_CLOSE
probe: unloaded same
EXIT=0"
[[ $(screen) == "$expected" ]] || fail "screen differs from the expected session"
echo "rdpub Ctrl-C: OK"
