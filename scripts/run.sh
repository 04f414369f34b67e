#!/usr/bin/env bash
# Builds the console host and starts it on its embedded default: a new drawing with the library
# loaded. Arguments are passed to rdpub (e.g. --script FILE, a drawing).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/deps.sh"
cmake -S "$root" -B "$root/build-run" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKW_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build-run" --target rdpub kwrdpub kwtracelogo msgdemo >/dev/null
exec "$root/build-run/bin/rdpub" "$@"
