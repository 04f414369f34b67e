#!/usr/bin/env bash
# Installs the Debian 12 packages a task needs, when any is missing.
#   scripts/deps.sh            building, running and testing
#   scripts/deps.sh bench      ... and the benchmarks' baselines
#   scripts/deps.sh fuzz       ... and clang with libFuzzer
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libxml2-dev libedit-dev
  googletest libgtest-dev libgmock-dev
  tmux python3-ezdxf
  librsvg2-bin zlib1g-dev
)
for extra in "$@"; do
  case "$extra" in
    bench) packages+=(libbenchmark-dev libboost-dev libcereal-dev libxml2-dev) ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    *) echo "deps.sh: unknown group '$extra'" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}"
fi
