#!/usr/bin/env bash
# Proves scripts/check_layers.sh: in small temporary trees, every kind of forbidden include is
# reported with its file, line and rule, and allowed includes pass.
set -uo pipefail
check="$(cd "$(dirname "$0")" && pwd)/check_layers.sh"
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT
failures=0

# A tree holding one allowed include, so that every tree has something to check.
new_tree() {
  rm -rf "$tmp/tree"
  mkdir -p "$tmp/tree/host/api"
  printf '#include "host/api/adesk.h"\n' >"$tmp/tree/host/api/rx.h"
}

# put FILE LINE...: writes the lines into FILE of the tree.
put() {
  local file="$tmp/tree/$1"
  shift
  mkdir -p "$(dirname "$file")"
  printf '%s\n' "$@" >"$file"
}

# expect_fail NAME MESSAGE: the check fails and prints exactly MESSAGE.
expect_fail() {
  local out rc
  out="$(bash "$check" "$tmp/tree")"
  rc=$?
  if [[ $rc -ne 1 || "$out" != "$2" ]]; then
    echo "FAIL $1: status $rc, output:"
    echo "$out"
    failures=$((failures + 1))
  fi
}

expect_pass() {
  local out
  if ! out="$(bash "$check" "$tmp/tree")"; then
    echo "FAIL $1: the check refused an allowed tree:"
    echo "$out"
    failures=$((failures + 1))
  fi
}

new_tree
put common/text.cpp '#include "common/text.h"' '#include <string>' '#include "host/api/rx.h"'
expect_fail common_includes_host \
  "common/text.cpp:3: includes host/api/rx.h: common/ is below the host and the library"

new_tree
put common/guid.cpp '#include <kwrdpub/kwrdpub.h>'
expect_fail common_includes_library_angle \
  "common/guid.cpp:1: includes kwrdpub/kwrdpub.h: common/ is below the host and the library"

new_tree
put host/embedded/frame/frame.cpp '#include "msg/RDMsgManager.h"'
expect_fail host_includes_library \
  "host/embedded/frame/frame.cpp:1: includes msg/RDMsgManager.h: the host never includes the library"

new_tree
put host/api/docman.h '  #  include "host/embedded/docs/docs.h"'
expect_fail api_includes_embedded \
  "host/api/docman.h:1: includes host/embedded/docs/docs.h: host/api/ is the interface: it never includes the embedded host"

new_tree
put host/embedded/db/database.cpp '#include "host/embedded/rx/rx.h"' \
  '#include "host/embedded/editor/editor.h"'
expect_fail db_includes_editor \
  "host/embedded/db/database.cpp:2: includes host/embedded/editor/editor.h: host/embedded/db/ may include only the services: rx"

new_tree
put host/embedded/rx/rx.cpp '#include "host/embedded/internal/session.h"'
expect_fail service_includes_session \
  "host/embedded/rx/rx.cpp:1: includes host/embedded/internal/session.h: host/embedded/rx/ may include only the services: none"

new_tree
put host/embedded/plot/plot.cpp '#include "host/embedded/rx/rx.h"'
expect_fail unknown_service \
  "host/embedded/plot/plot.cpp:1: includes host/embedded/rx/rx.h: host/embedded/plot is no service of the table in scripts/check_layers.sh"

new_tree
put persist/Model.cpp '#include "host/api/dbfiler.h"' '#include "host/embedded/db/db.h"'
expect_fail library_includes_embedded \
  "persist/Model.cpp:2: includes host/embedded/db/db.h: the library sees the host only through host/api/"

new_tree
put include/kwrdpub/kwrdpub.h '#include "host/api/rx.h"' '#include <host/embedded/rx/rx.h>'
expect_fail public_header_includes_embedded \
  "include/kwrdpub/kwrdpub.h:2: includes host/embedded/rx/rx.h: the library sees the host only through host/api/"

new_tree
put services/paths.cpp '#include "kwhost/embedded.h"'
expect_fail library_source_uses_host_controls \
  "services/paths.cpp:1: includes kwhost/embedded.h: only the library's tests use the embedded host's controls"

new_tree
put host/embedded/internal/session.cpp '#include "host/embedded/editor/editor.h"' \
  '#include "host/embedded/modules/modules.h"'
put host/embedded/editor/sysvars.cpp '#include "host/embedded/editor/editor.h"' \
  '#include "host/embedded/docs/docs.h"' '#include "kwhost/embedded.h"' '#include "common/text.h"'
put msg/RDMsgManager_test.cpp '#include "kwhost/embedded.h"' '#include "msg/RDMsgManager.h"'
put include/kwrdpub/kwrdpub.h '#include "host/api/rx.h"' '#include "services/paths.h"'
put tools/rdpub/main.cpp '#include "host/embedded/editor/editor.h"'
expect_pass allowed_includes

if ((failures > 0)); then
  echo "check_layers_test: $failures case(s) failed"
  exit 1
fi
echo "check_layers_test: every case passed"
