#!/usr/bin/env bash
# Installs the build into a temporary prefix and builds and runs an outside project that finds
# it with find_package(kwrdpub CONFIG REQUIRED).
set -euo pipefail
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
"$KW_CMAKE" --install "$KW_BUILD_DIR" --prefix "$work/prefix" >/dev/null
flags=""
[ "${KW_SANITIZE:-OFF}" = "ON" ] && flags="-fsanitize=address,undefined"
"$KW_CMAKE" -S "$KW_SOURCE_DIR/tests/consumer" -B "$work/build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER="$KW_CXX" \
  -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
"$KW_CMAKE" --build "$work/build" >/dev/null
output="$("$work/build/consumer")"
[ "$output" = "consumer ok" ] || { echo "unexpected output: $output"; exit 1; }
echo "install consumer: 1 passed, 0 failed"
