#!/usr/bin/env bash
# Builds the library and runs its main job: qarn demo scans an analytic test piece and writes
# its meshes, C-scan images and table of hits into ./qarn-demo (arguments go to qarn demo).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" >/dev/null
cmake --build build/release -j "$(nproc)" --target qarn
build/release/tools/qarn demo "$@"
