// The host's rule pointer array and its growth rule: capacity grows by the step, then the step grows
// by 3 while below 10 and by a fifth (truncated) after; every new block starts zero-filled.
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include "kvx/framework/RulePointerArray.h"

namespace {
CKvxRule* Fake(int n) { return reinterpret_cast<CKvxRule*>(static_cast<std::uintptr_t>(0x1000 + 8 * n)); }

// The block itself: the array is standard-layout and its block pointer is its first member.
static_assert(std::is_standard_layout_v<RulePointerArray>);
CKvxRule* const* Block(const RulePointerArray& array) { return *reinterpret_cast<CKvxRule** const*>(&array); }
}  // namespace

TEST(RulePointerArray, CapacityFollowsTheGrowthRuleForFortyAppends) {
  // capacity 0 -> 4 (step 4 -> 7) -> 11 (7 -> 10) -> 21 (10 -> 12) -> 33 (12 -> 14) -> 47 (14 -> 16)
  const std::vector<int> expected = {4,  4,  4,  4,  11, 11, 11, 11, 11, 11, 11, 21, 21, 21,
                                     21, 21, 21, 21, 21, 21, 21, 33, 33, 33, 33, 33, 33, 33,
                                     33, 33, 33, 33, 33, 47, 47, 47, 47, 47, 47, 47};
  RulePointerArray array;
  EXPECT_EQ(array.GetCapacity(), 0);
  for (int n = 1; n <= 40; ++n) {
    EXPECT_EQ(array.Add(Fake(n)), n - 1);
    EXPECT_EQ(array.GetSize(), n);
    EXPECT_EQ(array.GetCapacity(), expected[static_cast<size_t>(n - 1)]) << "after " << n << " appends";
  }
  EXPECT_EQ(array.GetGrowBy(), 16);
  for (int n = 1; n <= 40; ++n) EXPECT_EQ(array.GetAt(n - 1), Fake(n));
}

TEST(RulePointerArray, LargerStepsGrowByAFifthTruncated) {
  RulePointerArray array;
  std::vector<int> steps;
  for (int n = 0; n < 400; ++n) {
    const int before = array.GetGrowBy();
    array.Add(nullptr);
    if (array.GetGrowBy() != before) steps.push_back(array.GetGrowBy());
  }
  const std::vector<int> expected = {7, 10, 12, 14, 16, 19, 22, 26, 31, 37, 44, 52};
  ASSERT_GE(steps.size(), expected.size());
  EXPECT_EQ(std::vector<int>(steps.begin(), steps.begin() + static_cast<long>(expected.size())), expected);
}

TEST(RulePointerArray, NewBlocksAreZeroFilledBeyondTheCount) {
  RulePointerArray array;
  for (int n = 1; n <= 40; ++n) {
    array.Add(Fake(n));
    const CKvxRule* const* block = Block(array);
    for (int i = 0; i < array.GetSize(); ++i) ASSERT_EQ(block[i], Fake(i + 1)) << "slot " << i;
    for (int i = array.GetSize(); i < array.GetCapacity(); ++i) ASSERT_EQ(block[i], nullptr) << "slot " << i;
  }
}

TEST(RulePointerArray, OutOfRangeReadsAreNullAndRemoveAllKeepsTheBlock) {
  RulePointerArray array;
  EXPECT_EQ(array.GetAt(0), nullptr);
  array.Add(Fake(1));
  array.Add(nullptr);
  EXPECT_EQ(array.GetSize(), 2) << "null pointers are stored like any other";
  EXPECT_EQ(array.GetAt(-1), nullptr);
  EXPECT_EQ(array.GetAt(2), nullptr);
  EXPECT_EQ(array.GetAt(3), nullptr) << "inside the capacity but beyond the count";
  array.RemoveAll();
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.GetCapacity(), 4);
  EXPECT_EQ(array.GetAt(0), nullptr);
  EXPECT_EQ(array.Add(Fake(9)), 0);
  EXPECT_EQ(array.GetAt(0), Fake(9));
}
