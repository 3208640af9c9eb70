#include "Bt/bthash.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Bt/btflatmap.h"

namespace {

// The hash of texts in the standard library is known and can be undone: names of 16 bytes that all
// have the same one.
std::vector<std::string> MeetingNames(int count) {
  constexpr std::uint64_t kFactor = 0xC6A4A7935BD1E995;
  constexpr std::uint64_t kInverse = 0x5F7A0EA7E59B19BD;
  static_assert(kFactor * kInverse == 1);
  constexpr std::uint64_t kStart = 0xC70F6907 ^ 16 * kFactor;
  const auto fold = [](std::uint64_t word) { return word ^ word >> 47U; };
  std::mt19937_64 random(20261122);
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) {
    const std::uint64_t first = random();
    const std::uint64_t so_far = (kStart ^ fold(first * kFactor) * kFactor) * kFactor;
    const std::uint64_t second = fold((0x1234567812345678 ^ so_far) * kInverse) * kInverse;
    std::string& name = names.emplace_back(16, ' ');
    std::memcpy(name.data(), &first, sizeof(first));
    std::memcpy(name.data() + sizeof(first), &second, sizeof(second));
  }
  return names;
}

// A key that counts how often it is compared.
struct CountingKey {
  std::string text;
  static inline int n_compared = 0;
  [[nodiscard]] std::string_view view() const { return text; }
  friend bool operator==(const CountingKey& a, const CountingKey& b) {
    ++n_compared;
    return a.text == b.text;
  }
};

constexpr int kManyKeys = 20000;

TEST(BtHash, NamesMadeToMeetDoNot) {
  const std::vector<std::string> names = MeetingNames(kManyKeys);
  EXPECT_EQ(std::hash<std::string>()(names.front()), std::hash<std::string>()(names.back()));
  BtFlatMap<CountingKey, int> map;
  for (const std::string& name : names) map.try_emplace({name}, 0);
  EXPECT_EQ(map.size(), names.size());
  EXPECT_LT(CountingKey::n_compared, 100);
}

// How many of the keys 0, step, 2 step... fall on a place of a table that another one has.
int CountMeetings(std::uint64_t step) {
  BtHashSet<std::uint64_t> places;
  int n_met = 0;
  for (std::uint64_t i = 0; i < kManyKeys; ++i) {
    if (!places.insert(BtHash()(i * step) % (std::uint64_t{1} << 32U)).second) ++n_met;
  }
  return n_met;
}

TEST(BtHash, SpreadsNumbersInRows) {
  for (const std::uint64_t step : {std::uint64_t{1}, std::uint64_t{42043}, std::uint64_t{1} << 20U,
                                   std::uint64_t{1} << 32U, std::uint64_t{1} << 44U}) {
    EXPECT_LT(CountMeetings(step), 50) << step;
  }
}

TEST(BtHash, NamesAndNumbersThatCountUpStandSideBySide) {
  const auto row_of = [](const auto& key) { return BtHash()(key) >> 4U; };
  for (std::size_t i = 1; i < 16; ++i) EXPECT_EQ(BtHash()(160 + i) ^ BtHash()(160), i);
  EXPECT_NE(row_of(176), row_of(160));
  const auto name = [](std::size_t i) { return "limb_2" + std::to_string(i); };
  const auto set = [&name](std::size_t i) { return name(i) + "_vertices"; };
  for (std::size_t i = 1; i < 10; ++i) {
    EXPECT_EQ(BtHash()(name(i)) ^ BtHash()(name(0)), i);
    EXPECT_EQ(BtHash()(set(i)) ^ BtHash()(set(0)), i);
  }
  // Whatever else differs, rows are the same by chance only.
  std::set<std::uint64_t> rows;
  const std::vector<std::string> others = {"",
                                           "0",
                                           "limb_",
                                           "limb_2x",
                                           "limb_20",
                                           "limb_30",
                                           "limb_200",
                                           "Limb_20",
                                           "limb_20_vertices",
                                           "limb_20_vertice",
                                           "limb_20_Vertices"};
  for (const std::string& other : others) rows.insert(row_of(other));
  EXPECT_EQ(rows.size(), others.size());
}

TEST(BtHash, TellsTextsApartByEveryByteAndTheirLength) {
  BtHashSet<std::uint64_t> hashes;
  std::size_t n_texts = 0;
  for (std::size_t length = 0; length < 40; ++length) {
    const std::string zeros(length, '\0');
    hashes.insert(BtHashOf(std::string_view(zeros)));
    ++n_texts;
    for (std::size_t i = 0; i < length; ++i) {
      std::string text = zeros;
      text[i] = static_cast<char>(0x80);
      hashes.insert(BtHashOf(std::string_view(text)));
      ++n_texts;
    }
  }
  EXPECT_EQ(hashes.size(), n_texts);
}

TEST(BtHash, TakesZerosOfBothSignsForOne) {
  EXPECT_EQ(BtHashOf(0.0F, -0.0F, 1.0F), BtHashOf(-0.0F, 0.0F, 1.0F));
  EXPECT_NE(BtHashOf(0.0F, 1.0F), BtHashOf(1.0F, 0.0F));
}

TEST(BtHash, DiffersFromProcessToProcess) {
  const auto hashes = [] {
    return std::to_string(BtHashOf("name")) + " " + std::to_string(BtHashOf(1.0F, 2.0F));
  };
  const auto print_and_exit = [&hashes] {
    std::fputs(hashes().c_str(), stderr);
    std::exit(0);
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // which starts the program again
  EXPECT_EXIT(print_and_exit(), testing::ExitedWithCode(0), testing::MatchesRegex("[0-9]+ [0-9]+"));
  EXPECT_EXIT(print_and_exit(), testing::ExitedWithCode(0), testing::Ne(hashes()));
}

}  // namespace
