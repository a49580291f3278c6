#!/usr/bin/env bash
# Builds the library, installs it (headers, library, CMake package, pkg-config file) under
# /usr/local, then builds the demonstration against the installed copy and runs it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
prefix=${PREFIX:-/usr/local}
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" >/dev/null
cmake --build build/release -j "${JOBS:-2}"
cmake --install build/release >/dev/null
command -v ldconfig >/dev/null && ldconfig || true
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:${PKG_CONFIG_PATH:-}"
cc -O2 examples/demo.c $(pkg-config --cflags --libs zvx) -Wl,-rpath,"$prefix/lib" -o build/zvx_demo
./build/zvx_demo
