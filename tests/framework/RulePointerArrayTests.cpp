// The host's rule pointer array and its growth rule: capacity grows by the step, then the step grows
// by 3 while below 10 and by a fifth (truncated) after; every new block starts zero-filled.
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include "kvx/framework/RulePointerArray.h"

namespace {
CKvxRule* Fake(int n) { return reinterpret_cast<CKvxRule*>(static_cast<std::uintptr_t>(0x1000 + 8 * n)); }

// The array is standard-layout and its block pointer is its first member.
static_assert(std::is_standard_layout_v<RulePointerArray>);
CKvxRule* const* Block(const RulePointerArray& array) { return *reinterpret_cast<CKvxRule** const*>(&array); }
}  // namespace

TEST(RulePointerArray, GrowthRuleAndZeroFilledBlocks) {
  RulePointerArray array;
  EXPECT_EQ(array.GetCapacity(), 0);
  std::vector<int> capacities;
  std::vector<int> steps;
  for (int n = 1; n <= 400; ++n) {
    const int step = array.GetGrowBy();
    ASSERT_EQ(array.Add(Fake(n)), n - 1);
    if (array.GetGrowBy() != step) steps.push_back(array.GetGrowBy());
    if (capacities.empty() || capacities.back() != array.GetCapacity()) capacities.push_back(array.GetCapacity());
    if (n > 40) continue;
    const CKvxRule* const* block = Block(array);
    for (int i = 0; i < array.GetSize(); ++i) ASSERT_EQ(block[i], Fake(i + 1)) << "slot " << i;
    for (int i = array.GetSize(); i < array.GetCapacity(); ++i) ASSERT_EQ(block[i], nullptr) << "slot " << i;
  }
  EXPECT_EQ(std::vector<int>(capacities.begin(), capacities.begin() + 5), (std::vector<int>{4, 11, 21, 33, 47}));
  EXPECT_EQ(std::vector<int>(steps.begin(), steps.begin() + 12),
            (std::vector<int>{7, 10, 12, 14, 16, 19, 22, 26, 31, 37, 44, 52}));
}

TEST(RulePointerArray, OutOfRangeReadsAreNullAndRemoveAllKeepsTheBlock) {
  RulePointerArray array;
  EXPECT_EQ(array.GetAt(0), nullptr);
  array.Add(Fake(1));
  array.Add(nullptr);
  EXPECT_EQ(array.GetSize(), 2) << "null pointers are stored like any other";
  for (int i : {-1, 2, 3}) EXPECT_EQ(array.GetAt(i), nullptr) << i;
  array.RemoveAll();
  EXPECT_EQ(array.GetSize(), 0);
  EXPECT_EQ(array.GetCapacity(), 4);
  EXPECT_EQ(array.Add(Fake(9)), 0);
  EXPECT_EQ(array.GetAt(0), Fake(9));
}
