// Tuning numbers of the Poisson solvers.
#pragma once

namespace zvx::poisson {

// Columns solved together in the tridiagonal stage. The sweep walks the grid along the last axis
// with a stride of a whole row (plane); 16 adjacent columns use two full 64-byte cache lines of
// doubles per row instead of one value per line, and the recurrences of the 16 run side by side
// in vector registers. The pairs of the sweep, 2 x 16 x (rows) values, stay in the 1 MiB L2 up to
// some thousands of rows.
inline constexpr int kColumnBlock = 16;

}  // namespace zvx::poisson
