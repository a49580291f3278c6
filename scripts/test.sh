#!/usr/bin/env bash
# Builds the library and runs every test: once in a release build, once under AddressSanitizer
# and UndefinedBehaviorSanitizer. Set ZVX_SKIP_SANITIZERS=1 to run the release build only.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
jobs=${JOBS:-2}

echo "== release build"
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DZVX_BUILD_BENCH=ON >/dev/null
cmake --build build/release -j "$jobs"
(cd build/release && ctest -j "$jobs" --output-on-failure)

if [ "${ZVX_SKIP_SANITIZERS:-0}" != 1 ]; then
  echo "== sanitizer build (address, undefined)"
  cmake -S . -B build/sanitize -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZVX_SANITIZE=ON \
        -DZVX_BUILD_BENCH=OFF >/dev/null
  cmake --build build/sanitize -j "$jobs"
  (cd build/sanitize && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 \
     UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest -j "$jobs" --output-on-failure)
fi
