#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, ASan, UBSan) and runs each for SECONDS
# (default 600) on a copy of its corpus. Usage: scripts/fuzz.sh [SECONDS] [TARGET...]
# The binary readers' targets check their own allocation bound (fuzz/alloc_bound.h) and run with
# a 16 MB limit on any single allocation; the XML target keeps 64 MB for libxml2.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/deps.sh" fuzz
seconds="${1:-600}"
shift || true
build="$root/build-fuzz"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DKW_BUILD_TESTS=OFF \
  -DKW_BUILD_FUZZ=ON >/dev/null
cmake --build "$build"
targets=("$@")
if ((${#targets[@]} == 0)); then
  for t in "$build"/bin/fuzz_*; do targets+=("$(basename "$t" | sed 's/^fuzz_//')"); done
fi
for t in "${targets[@]}"; do
  corpus="$build/corpus/$t"
  mkdir -p "$corpus"
  cp -n "$root/fuzz/corpus/$t"/* "$corpus"/ 2>/dev/null || true
  malloc_limit=16
  [[ "$t" == xml_store ]] && malloc_limit=64
  echo "== fuzz_$t for ${seconds}s (malloc limit ${malloc_limit} MB)"
  "$build/bin/fuzz_$t" "$corpus" -max_total_time="$seconds" -malloc_limit_mb="$malloc_limit" \
    -rss_limit_mb=2048 -print_final_stats=1 2>&1 | tail -n 12
done
