#!/usr/bin/env bash
# Installs what the build, the tests and the benchmarks need, when it is missing (Debian, root).
set -euo pipefail
packages=(cmake ninja-build g++ gcc make pkg-config binutils python3 libgtest-dev libbenchmark-dev
          libopenblas-dev libblas3 libblas-test python3-numpy openmpi-bin libopenmpi-dev
          libscalapack-openmpi-dev libfftw3-dev libgmp-dev libsleef-dev gnuplot-nox libeigen3-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}" >/dev/null
fi
