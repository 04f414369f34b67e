#!/usr/bin/env bash
# Builds the benchmarks (optimised, no sanitizers) and runs them; each prints its own figures
# and its ratio against a baseline measured in the same run. Arguments: benchmark names to run
# (e.g. msg_send filer); none runs them all.
#   --consumer [names]  instead builds the project at its default build type, installs it, and
#                       builds the benchmarks of bench/consumer (msg_send) as an outside program
#                       that finds the install with find_package (at the same build type).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/deps.sh" bench

if [[ ${1:-} == --consumer ]]; then
  shift
  build="$root/build-consumer"
  cmake -S "$root" -B "$build/lib" -G Ninja -DKW_BUILD_TESTS=OFF >/dev/null
  cmake --build "$build/lib"
  cmake --install "$build/lib" --prefix "$build/prefix" >/dev/null
  cmake -S "$root/bench/consumer" -B "$build/bench" -G Ninja -DCMAKE_PREFIX_PATH="$build/prefix" \
    >/dev/null
  cmake --build "$build/bench"
  names=("$@")
  ((${#names[@]} > 0)) || names=(msg_send)
  for n in "${names[@]}"; do
    echo "== bench_$n (outside consumer)"
    "$build/bench/bench_$n"
  done
  exit 0
fi

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
