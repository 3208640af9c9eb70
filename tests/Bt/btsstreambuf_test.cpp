#include "btsstreambuf.h"

#include <istream>
#include <string>

#include "Bt/deathcases.h"

namespace {

TEST(BtSStreamBuf, GivesBackWhatWasWrittenWhileItGrows) {
  BtSStreamBuf buf;
  std::iostream stream(&buf);
  for (int round = 0; round < 2; ++round) {
    std::string all;
    std::string read_back;
    for (int i = 0; i < 2000; ++i) {
      const std::string piece(static_cast<std::size_t>(i % 700), static_cast<char>('a' + i % 26));
      stream << i << piece << '\n';
      all += std::to_string(i) + piece + "\n";
      if (i % 3 == 0) {
        std::string line;
        ASSERT_TRUE(std::getline(stream, line));
        read_back += line + "\n";
      }
    }
    EXPECT_TRUE(buf.view() == all);
    EXPECT_TRUE(all.starts_with(read_back));
    buf.clear();
    EXPECT_EQ(stream.get(), EOF);
    stream.clear();
  }
}

TEST(BtSStreamBuf, EndsTheProcessWhenItCannotGrow) {
  ExpectDeaths({{"\nUnable to allocate stream buffer, aborting.\n",
                 [] {
                   BtSStreamBuf buf([](void*, std::size_t) -> void* { return nullptr; });
                   buf.sputc('a');
                 }},
                {"\nUnable to increase stream buffer size, aborting.\n", [] {
                   BtSStreamBuf buf([](void* block, std::size_t size) {
                     return block == nullptr ? std::realloc(block, size) : nullptr;
                   });
                   for (int i = 0; i < 10000; ++i) buf.sputc('a');
                 }}});
}

}  // namespace
