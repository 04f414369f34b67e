#!/usr/bin/env bash
# Fails (status 1, one line per offending include) when a folder includes a layer it may not:
#   common/                  below everything: never the host, the library or their headers;
#   host/, include/kwhost/   never the library; host/api/ never the embedded host;
#   host/embedded/<service>/ only the services its row in host/embedded/README.md names, never
#                            the session (internal/); a service folder missing from the table
#                            below fails too, so a new one cannot slip past the check;
#   the library              the host only through host/api/ (its tests may also use the
#                            embedded host's controls, <kwhost/embedded.h>).
# Both "..." and <...> includes are checked; programs, tests, benchmarks and fuzz targets may
# include anything.
#
#   check_layers.sh [ROOT]    ROOT: the source tree (default: the one holding this script)
set -uo pipefail
root="${1:-$(cd "$(dirname "$0")/.." && pwd)}"

library_folders="app msg persist services styles editor"

# The embedded host's services and the services each may include (host/embedded/README.md).
declare -A uses=(
  [rx]=""
  [db]="rx"
  [dxf]="rx db"
  [docs]="rx db"
  [modules]="rx"
  [frame]="rx"
  [editor]="rx db docs"
  [linetypes]="rx db docs editor"
  [redraw]="rx db docs"
  [select]="rx db docs editor redraw view"
  [view]="rx db docs editor frame"
  [svg]="rx db docs editor linetypes redraw view"
  [testdata]=""
)

first_folder() { printf '%s' "${1%%/*}"; }

is_library() {
  local top
  top="$(first_folder "$1")"
  [[ "$1" == kwrdpub/* || " $library_folders " == *" $top "* ]]
}

# Why `file` may not include `target`; nothing when it may.
service_reason() {
  local file="$1" target="$2" service other
  service="$(first_folder "${file#host/embedded/}")"
  [[ "$file" == host/embedded/*/* ]] || service=""
  [[ "$service" == internal ]] && return
  if [[ -z "$service" || ! -v "uses[$service]" ]]; then
    [[ "$target" == host/embedded/* ]] &&
      echo "host/embedded/${service:-.} is no service of the table in scripts/check_layers.sh"
    return
  fi
  [[ "$target" == host/embedded/* ]] || return
  other="$(first_folder "${target#host/embedded/}")"
  [[ "$other" == "$service" || " ${uses[$service]} " == *" $other "* ]] && return
  echo "host/embedded/$service/ may include only the services: ${uses[$service]:-none}"
}

reason() {
  local file="$1" target="$2"
  case "$file" in
    common/*)
      if [[ "$target" == host/* || "$target" == kwhost/* ]] || is_library "$target"; then
        echo "common/ is below the host and the library"
      fi ;;
    host/* | include/kwhost/*)
      if is_library "$target"; then
        echo "the host never includes the library"
      elif [[ "$file" == host/api/* && ("$target" == host/embedded/* || "$target" == kwhost/*) ]]
      then
        echo "host/api/ is the interface: it never includes the embedded host"
      elif [[ "$file" == host/embedded/* ]]; then
        service_reason "$file" "$target"
      fi ;;
    *)
      is_library "${file#include/}" || return
      if [[ "$target" == host/embedded/* ]]; then
        echo "the library sees the host only through host/api/"
      elif [[ "$target" == kwhost/* && "$file" != *_test.cpp ]]; then
        echo "only the library's tests use the embedded host's controls"
      fi ;;
  esac
}

folders=(common host include $library_folders)
status=0
checked=0
while IFS= read -r hit; do
  file="${hit%%:*}"
  rest="${hit#*:}"
  line="${rest%%:*}"
  [[ "${rest#*:}" =~ include[[:space:]]*[\<\"]([^\"\>]+) ]] || continue
  target="${BASH_REMATCH[1]}"
  checked=$((checked + 1))
  why="$(reason "$file" "$target")"
  if [[ -n "$why" ]]; then
    echo "$file:$line: includes $target: $why"
    status=1
  fi
done < <(cd "$root" && grep -rnE --include='*.h' --include='*.hpp' --include='*.cpp' \
           --include='*.cc' '^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]' \
           "${folders[@]}" 2>/dev/null)

if ((checked == 0)); then
  echo "check_layers: no includes found under $root"
  exit 1
fi
((status == 0)) && echo "check_layers: $checked includes, every one allowed"
exit "$status"
