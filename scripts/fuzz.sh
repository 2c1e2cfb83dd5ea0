#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for the given number of seconds
# (default 60) on a scratch copy of its seed corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
bash scripts/deps.sh
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  "-DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all" \
  -DQARN_BUILD_FUZZ=ON -DQARN_BUILD_TESTS=OFF -DQARN_BUILD_TOOLS=OFF -DQARN_BUILD_EXAMPLES=OFF \
  "${launcher[@]}" >/dev/null
cmake --build build/fuzz -j "$(nproc)" >/dev/null
shopt -s nullglob
for source in fuzz/fuzz_*.cpp; do
  name=$(basename "$source" .cpp)
  corpus=build/fuzz/corpus-$name
  rm -rf "$corpus"
  mkdir -p "$corpus"
  [ -d "fuzz/corpus/$name" ] && cp -r "fuzz/corpus/$name/." "$corpus/"
  echo "== Fuzzing $name for ${seconds}s"
  build/fuzz/fuzz/"$name" -max_total_time="$seconds" -rss_limit_mb=2048 -print_final_stats=1 \
    "$corpus" 2>&1 | tail -n 40
done
