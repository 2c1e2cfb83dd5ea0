#!/usr/bin/env bash
# Installs with apt-get whatever the build, the tests and the tools need and the machine lacks,
# and the further packages named as arguments.
set -euo pipefail
packages=(g++ cmake make libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev libpng-dev clang
  libassimp-dev pkg-config libcairo2-dev fonts-dejavu-core libjs-three chromium pybind11-dev
  python3-dev python3-numpy python3-pytest
  libclang-rt-14-dev clang-format ccache "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi
