#!/usr/bin/env bash
# Builds the benchmark programs (bench/*.cpp) in Release with their peer libraries, runs them and
# prints one table of side-by-side figures, which it also writes into BENCHMARKS.md.
#
#   scripts/bench.sh                 every program
#   scripts/bench.sh query groups    only bench/query.cpp and bench/groups.cpp
#
# Each program checks that its answers agree with its peers' before timing. Cases named
# <Workload>/QARN are paired with <Workload>/<Peer> (and <Workload>/QARN_<v> with
# <Workload>/<Peer>_<v>); other cases are listed alone. The JSON output of each program is kept
# in build/bench/results. The real meshes of libcgal-demo are unpacked into build/bench/data and
# their folder is passed to the programs as QARN_BENCH_DATA.
#
# Environment: QARN_BENCH_REPETITIONS (default 3) repetitions of every case, interleaved with the
# other cases of the program; QARN_BENCH_MIN_TIME (default 0.5) seconds per repetition.
set -euo pipefail
cd "$(dirname "$0")/.."
# The peers, and CGAL's demo meshes.
bash scripts/deps.sh libembree-dev libnanoflann-dev libtinyobjloader-dev libopenmesh-dev \
  libcgal-dev libeigen3-dev libcgal-demo

build=build/bench
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DQARN_BUILD_BENCH=ON -DQARN_BUILD_TESTS=OFF \
  -DQARN_BUILD_TOOLS=OFF -DQARN_BUILD_EXAMPLES=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
  "${launcher[@]}" >/dev/null

if [ $# -gt 0 ]; then
  programs=("$@")
else
  programs=()
  for source in bench/*.cpp; do
    programs+=("$(basename "$source" .cpp)")
  done
fi
for program in "${programs[@]}"; do
  if [ ! -f "bench/$program.cpp" ]; then
    echo "bench.sh: no benchmark program bench/$program.cpp" >&2
    exit 2
  fi
done
cmake --build "$build" -j "$(nproc)" --target "${programs[@]/#/bench_}"

data="$build/data"
archive=/usr/share/doc/libcgal-demo/data.tar.gz
if [ ! -d "$data" ] && [ -f "$archive" ]; then
  mkdir -p "$data"
  tar -xzf "$archive" -C "$data"
fi
export QARN_BENCH_DATA="$PWD/$data/data"

results="$build/results"
mkdir -p "$results"
for program in "${programs[@]}"; do
  echo "== bench_$program"
  "$build/bench/bench_$program" \
    --benchmark_repetitions="${QARN_BENCH_REPETITIONS:-3}" \
    --benchmark_min_time="${QARN_BENCH_MIN_TIME:-0.5}" \
    --benchmark_enable_random_interleaving=true \
    --benchmark_out="$results/$program.json.part" --benchmark_out_format=json
  mv "$results/$program.json.part" "$results/$program.json"
done

/usr/bin/python3 scripts/bench_table.py --results "$results" --build "$build" \
  --markdown BENCHMARKS.md "${programs[@]}"
