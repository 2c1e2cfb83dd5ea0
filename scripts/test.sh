#!/usr/bin/env bash
# Checks the formatting, then builds and runs every test twice: optimised, then under
# AddressSanitizer and UndefinedBehaviorSanitizer. With QARN_FUZZ_SECONDS set, it first runs each
# fuzz target that long.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
jobs=$(nproc)
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

run_suite() {
  local dir=$1 type=$2 flags=$3
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE="$type" "-DCMAKE_CXX_FLAGS=$flags" "${launcher[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs"
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir "$dir" -j "$jobs" --output-on-failure
}

echo "== Formatting (clang-format)"
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror

if [ -n "${QARN_FUZZ_SECONDS:-}" ]; then
  bash scripts/fuzz.sh "$QARN_FUZZ_SECONDS"
fi

echo "== Optimised build (RelWithDebInfo)"
run_suite build/release RelWithDebInfo ""
echo "== Sanitized build (address, undefined)"
run_suite build/sanitize Debug "-O1 -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer"
