// Real transforms of rank 2 and 3 through the descriptor entries, against a naive spectrum in
// long double: every packed format at rank 2 (the half spectrum's real columns packed along the
// columns, the others complex), conjugate-even storage as complex values at ranks 2 and 3, in
// place and out of place, with strides, offsets and batches, and lengths of 1 in any dimension.
#include "dft/real_reference.h"

namespace {

using namespace dft_real_test;

template <class R>
class DftRealNd : public ::testing::Test {};
using precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DftRealNd, precisions);

const std::vector<std::vector<long>> kPlanes = {{4, 3}, {5, 4}, {8, 8}, {6, 1}, {1, 6}, {7, 5},
                                                {2, 2}, {3, 7}, {64, 32}, {30, 20}, {16, 9}};

TYPED_TEST(DftRealNd, PackedFormatsAtRankTwo) {
  for (const auto& n : kPlanes)
    for (int fmt : {DFTI_CCS_FORMAT, DFTI_PACK_FORMAT, DFTI_PERM_FORMAT})
      for (bool forward : {true, false}) {
        const long p1 = packed_reals(fmt, n[0]), p2 = packed_reals(fmt, n[1]);
        rconfig c;
        c.n = n;
        c.fmt = fmt;
        c.forward = forward;
        check_real<TypeParam>(c, 1);  // dense on both sides
        // Strided rows and columns, with offsets.
        c.real_side = {5, {2, 2 * n[0] + 1}, 0};
        c.packed_side = {3, {3, 3 * p1 + 2}, 0};
        check_real<TypeParam>(c, 2);
        // In place: one array, rows of the packed width.
        c.in_place = true;
        c.real_side = c.packed_side = {0, {1, p1}, p1 * p2};
        check_real<TypeParam>(c, 3);
        c.real_side = c.packed_side = {2, {2, 2 * p1 + 1}, 0};
        check_real<TypeParam>(c, 4);
        if (::testing::Test::HasFailure()) return;
      }
}

TYPED_TEST(DftRealNd, PackedBatches) {
  for (int fmt : {DFTI_CCS_FORMAT, DFTI_PACK_FORMAT, DFTI_PERM_FORMAT})
    for (bool forward : {true, false}) {
      const std::vector<long> n = {6, 5};
      const long p1 = packed_reals(fmt, 6), p2 = packed_reals(fmt, 5);
      rconfig c;
      c.n = n;
      c.fmt = fmt;
      c.forward = forward;
      c.count = 3;
      c.real_side = {1, {1, 7}, 7 * 5 + 2};
      c.packed_side = {0, {1, p1}, p1 * p2 + 1};
      check_real<TypeParam>(c, 9);
    }
}

const std::vector<std::vector<long>> kComplexStorage = {
    {6, 4}, {5, 3}, {8, 1}, {1, 5}, {2, 2}, {33, 16}, {5, 3, 4}, {8, 4, 2}, {7, 1, 3}, {4, 4, 1},
    {1, 3, 5}, {16, 8, 6}, {9, 10, 3}};

TYPED_TEST(DftRealNd, ConjugateEvenStorageAtRanksTwoAndThree) {
  for (const auto& n : kComplexStorage)
    for (bool forward : {true, false}) {
      const long h = n[0] / 2 + 1;
      const long n2 = n[1], n3 = n.size() > 2 ? n[2] : 1;
      rconfig c;
      c.n = n;
      c.fmt = DFTI_CCE_FORMAT;
      c.forward = forward;
      check_real<TypeParam>(c, 1);
      // Strided complex and real sides with offsets, and two transforms.
      c.count = 2;
      if (n.size() == 2) {
        c.real_side = {3, {2, 2 * n[0] + 3}, (2 * n[0] + 3) * n2 + 1};
        c.packed_side = {1, {2, 2 * h + 1}, (2 * h + 1) * n2 + 2};
      } else {
        c.real_side = {3, {1, n[0] + 1, (n[0] + 1) * n2 + 2}, ((n[0] + 1) * n2 + 2) * n3};
        c.packed_side = {1, {2, 2 * h + 1, (2 * h + 1) * n2}, (2 * h + 1) * n2 * n3 + 1};
      }
      check_real<TypeParam>(c, 2);
      // In place: rows of the real side padded to the complex width.
      c.count = 1;
      c.in_place = true;
      if (n.size() == 2) {
        c.real_side = {0, {1, 2 * h}, 2 * h * n2};
        c.packed_side = {0, {1, h}, h * n2};
      } else {
        c.real_side = {0, {1, 2 * h, 2 * h * n2}, 2 * h * n2 * n3};
        c.packed_side = {0, {1, h, h * n2}, h * n2 * n3};
      }
      check_real<TypeParam>(c, 3);
      if (::testing::Test::HasFailure()) return;
    }
}

}  // namespace
