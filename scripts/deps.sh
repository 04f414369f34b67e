#!/usr/bin/env bash
# Installs the Debian 12 packages the build and the tests need, when any is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libxml2-dev libedit-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libboost-dev libcereal-dev
  clang libclang-rt-14-dev
  locales
)

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
