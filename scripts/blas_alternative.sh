#!/usr/bin/env bash
# Registers libzvx_blas.so.3 with Debian's alternatives as the system libblas.so.3 (and as
# libcblas.so.3 where the system keeps CBLAS in an alternative of its own), and switches to it;
# or switches back and removes the registration.
#   scripts/blas_alternative.sh install [<path of libzvx_blas.so.3>]   (root)
#   scripts/blas_alternative.sh remove  [<path of libzvx_blas.so.3>]   (root)
#   scripts/blas_alternative.sh status
# The default path is the installed library, ${PREFIX:-/usr/local}/lib/libzvx_blas.so.3.
# It is registered with a low priority, so that the automatic choice never falls on it by
# itself; "install" sets it explicitly, "remove" returns the link to the automatic choice.
set -euo pipefail
action=${1:-status}
lib=$(readlink -f "${2:-${PREFIX:-/usr/local}/lib/libzvx_blas.so.3}")
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || gcc -print-multiarch)
libdir=/usr/lib/$triplet
priority=5

names=(libblas.so.3)
update-alternatives --list "libcblas.so.3-$triplet" >/dev/null 2>&1 && names+=(libcblas.so.3)

case "$action" in
  install)
    [ -f "$lib" ] || { echo "no library at $lib (build and install it first)" >&2; exit 1; }
    for n in "${names[@]}"; do
      update-alternatives --install "$libdir/$n" "$n-$triplet" "$lib" "$priority"
      update-alternatives --set "$n-$triplet" "$lib"
    done
    ldconfig
    ;;
  remove)
    for n in "${names[@]}"; do
      update-alternatives --remove "$n-$triplet" "$lib" || true
      update-alternatives --auto "$n-$triplet"
    done
    ldconfig
    ;;
  status)
    for n in "${names[@]}"; do update-alternatives --display "$n-$triplet"; done
    ;;
  *)
    echo "usage: $0 install|remove|status [<path of libzvx_blas.so.3>]" >&2; exit 2 ;;
esac
