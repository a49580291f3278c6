// How every threaded frame of level 3 cuts a dimension into pieces, one per thread of its region.
//
// Piece i of nt starts at i * (dim / nt); the last piece takes the rest, so when dim is below nt
// the first pieces are empty and the last is whole. An empty piece's offset is capped at the last
// row (column), and at 0 for an empty dimension, so that the pointers a frame forms from it stay
// inside the caller's arrays even though nothing is read through them.
#pragma once
#include <algorithm>

namespace zvx {

struct piece {
  int offset;
  int size;
};

inline piece piece_of(int i, int nt, int dim) {
  const int chunk = dim / nt;
  const int off = i * chunk;
  const int size = i < nt - 1 ? chunk : std::max(dim - off, 0);
  return {std::max(std::min(off, dim - 1), 0), size};
}

}  // namespace zvx
