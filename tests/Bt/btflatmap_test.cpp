#include "Bt/btflatmap.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <unordered_map>

namespace {

// Few names, so that each comes and goes often, and enough of them that searches run through
// neighbours in the table.
constexpr int kNames = 40;

TEST(BtFlatMap, KeepsWhatAnUnorderedMapWould) {
  std::mt19937 random(20261121);
  BtFlatMap<std::string, int> map;
  std::unordered_map<std::string, int> expected;
  for (int step = 0; step < 20000; ++step) {
    const std::string name = "limb_" + std::to_string(random() % kNames);
    const auto entry = map.find(name);
    ASSERT_EQ(entry != map.end(), expected.contains(name)) << "step " << step;
    if (random() % 2 == 0) {
      const auto [added, is_new] = map.try_emplace(name, step);
      EXPECT_EQ(is_new, expected.try_emplace(name, step).second);
      EXPECT_EQ(added->second, expected[name]);
    } else if (entry != map.end()) {
      EXPECT_EQ(entry->second, expected[name]);
      map.erase(entry);
      expected.erase(name);
    }
    ASSERT_EQ(map.size(), expected.size());
  }
  for (int i = 0; i < kNames; ++i) {
    const std::string name = "limb_" + std::to_string(i);
    EXPECT_EQ(map.find(name) != map.end(), expected.contains(name)) << name;
  }
  map.clear();
  EXPECT_EQ(map.find("limb_0"), map.end());
}

}  // namespace
