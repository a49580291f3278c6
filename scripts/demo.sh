#!/usr/bin/env bash
# Builds the library, installs it (headers, libraries, CMake package, pkg-config files) under
# /usr/local, then builds the demonstrations against the installed copy and runs them.
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
# The standard interfaces: a CBLAS program against libzvx_blas.so.3, found through its own
# pkg-config file.
cc -O2 examples/cblas_rowmajor.c $(pkg-config --cflags --libs zvx_blas) -lm -Wl,-rpath,"$prefix/lib" \
   -o build/zvx_cblas_rowmajor
./build/zvx_cblas_rowmajor
