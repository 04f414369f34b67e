#!/usr/bin/env bash
# Builds the benchmarks (optimised, no sanitizers) and runs them; each prints its own figures
# and its ratio against a baseline measured in the same run. Arguments: benchmark names to run
# (e.g. msg_send filer); none runs them all.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/deps.sh" bench
build="$root/build-bench"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKW_BUILD_TESTS=OFF \
  -DKW_BUILD_BENCH=ON >/dev/null
cmake --build "$build"
names=("$@")
if ((${#names[@]} == 0)); then
  for b in "$build"/bin/bench_*; do names+=("$(basename "$b" | sed 's/^bench_//')"); done
fi
for n in "${names[@]}"; do
  echo "== bench_$n"
  "$build/bin/bench_$n"
done
