#!/usr/bin/env bash
# The build sees every folder: a small project using cmake/kw_helpers.cmake configures while its
# sources sit in the folder itself, in internal/ or in a subfolder named as built elsewhere, and
# configuration fails, naming the folder, as soon as another subfolder holds a source.
set -euo pipefail
: "${KW_SOURCE_DIR:?}" "${KW_CMAKE:?}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

mkdir -p "$work/src/lib/internal" "$work/src/lib/plugin"
touch "$work/src/lib/a.cpp" "$work/src/lib/internal/b.cpp" "$work/src/lib/plugin/c.cpp"
# configure ELSEWHERE...: configures the project, its library folder built with those exceptions.
configure() {
  cat >"$work/src/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(folders NONE)
include($KW_SOURCE_DIR/cmake/kw_helpers.cmake)
kw_folder_sources(srcs lib $*)
message(STATUS "sources: \${srcs}")
CMAKE
  rm -rf "$work/build"
  "$KW_CMAKE" -S "$work/src" -B "$work/build" 2>&1
}

out=$(configure ELSEWHERE plugin) || fail "refused a folder built elsewhere: $out"
[[ $out == *"sources: $work/src/lib/a.cpp;$work/src/lib/internal/b.cpp"* ]] ||
  fail "wrong sources: $out"

if out=$(configure); then fail "accepted an unlisted folder: $out"; fi
[[ $out == *"lib/plugin holds sources (lib/plugin/c.cpp) that no rule builds"* ]] ||
  fail "no reason given: $out"

mkdir -p "$work/src/lib/internal/deeper"
mv "$work/src/lib/plugin/c.cpp" "$work/src/lib/internal/deeper/c.cc"
if out=$(configure ELSEWHERE plugin); then fail "accepted a folder below internal/: $out"; fi
[[ $out == *"lib/internal/deeper holds sources"* ]] || fail "no reason for internal/deeper: $out"
echo "build folders e2e: 3 passed, 0 failed"
