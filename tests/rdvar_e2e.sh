#!/usr/bin/env bash
# User variables end to end: rdpub fed on standard input with the example module, which
# registers three variables; RDVar lists them, edits one, and the per-user "SoftConfig.xml"
# holds the new value under section "Road". A second session reads the saved value back. A save
# that fails is reported on the command line.
set -euo pipefail
: "${KW_RDPUB:?}" "${KW_MSGDEMO:?}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export KWRD_USER_DIR=$work/user
fail() { echo "FAIL: $*" >&2; exit 1; }

out=$(printf '%s\n' APPLOAD "$KW_MSGDEMO" RDVar '?' DemoCount 12 '' RDVar nothing '' QUIT | "$KW_RDPUB")
expected_list=$'\n输入变量名或[?]:\nDemoCount\t\t3\nDemoLabel\t\t道路\nDemoScale\t\t1.5\n输入变量名或[?]:'
[[ $out == *"$expected_list"* ]] || fail "variable list: $out"
[[ $out == *$'\n输入变量 DemoCount 的新值 <3>:'* ]] || fail "new-value prompt: $out"
[[ $out == *$'\n不存在变量 nothing'* ]] || fail "unknown name: $out"
config=$KWRD_USER_DIR/SoftConfig.xml
[[ -f $config ]] || fail "no SoftConfig.xml"
grep -q '<Road>' "$config" || fail "no Road section: $(cat "$config")"
grep -q '<DemoCount>12</DemoCount>' "$config" || fail "value not saved: $(cat "$config")"

# A new session starts from the saved value; reading alone leaves the file untouched.
before=$(stat -c %Y.%s "$config")
out=$(printf '%s\n' APPLOAD "$KW_MSGDEMO" RDVar '?' '' QUIT | "$KW_RDPUB")
[[ $out == *$'DemoCount\t\t12'* ]] || fail "saved value not loaded: $out"
[[ $(stat -c %Y.%s "$config") == "$before" ]] || fail "file rewritten after reads only"

# A save that fails is reported on the command line, and the damaged file is left alone.
printf '<config><Road>' > "$config"
out=$(printf '%s\n' APPLOAD "$KW_MSGDEMO" RDVar DemoCount 7 QUIT | "$KW_RDPUB")
[[ $out == *$'\n无法保存用户变量到 '"$config"* ]] || fail "failed save not reported: $out"
[[ $(cat "$config") == '<config><Road>' ]] || fail "damaged file rewritten"

echo "rdvar e2e: 2 passed, 0 failed"
