#!/usr/bin/env bash
# Builds the library and runs its main job.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" >/dev/null
cmake --build build/release -j "$(nproc)" --target primitives_tour
build/release/examples/primitives_tour "$@"
