#include "btlist.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Bt/deathcases.h"

namespace {

using Cursor = BtDLListCursor<char>;

std::string Text(const BtList<char>& list) {
  std::string text;
  for (const char c : list) text += c;
  return text;
}

// A cursor at position i of a list.
Cursor At(BtList<char>* list, int i) {
  Cursor cursor(&list->list());
  for (; i > 0; --i) cursor.next();
  return cursor;
}

// Every set of removed elements under every set of cursors.
TEST(BtList, CursorsSurviveTheRemovalOfTheirElement) {
  const std::string all = "abcde";
  for (unsigned removed = 0; removed < 32; ++removed) {
    for (unsigned held = 0; held < 32; ++held) {
      BtList<char> list{'a', 'b', 'c', 'd', 'e'};
      std::vector<std::pair<char, Cursor>> cursors;
      std::string left;
      for (int i = 0; i < 5; ++i) {
        const char letter = all[static_cast<std::size_t>(i)];
        // Two on a node: it must stay until the second one leaves.
        if ((held >> i & 1) != 0) cursors.insert(cursors.end(), 2, {letter, At(&list, i)});
        if ((removed >> i & 1) == 0) left += letter;
      }
      for (const char letter : all) {
        if (left.find(letter) == std::string::npos) list.removeValue(letter);
      }
      ASSERT_EQ(Text(list), left);
      ASSERT_EQ(list.count(), static_cast<int>(left.size()));
      for (int i = 0; i < list.count(); ++i) ASSERT_EQ(list[i], left[static_cast<std::size_t>(i)]);
      ASSERT_TRUE(left.empty() || list.last() == left.back());
      for (const auto& [letter, cursor] : cursors) {
        const auto at = std::lower_bound(left.begin(), left.end(), letter);
        ASSERT_EQ(cursor.position(), at - left.begin());
      }
      for (auto& [letter, cursor] : cursors) {
        const auto after = std::upper_bound(left.begin(), left.end(), letter);
        cursor.next();
        ASSERT_EQ(cursor.atEnd() ? '-' : *cursor.data(), after == left.end() ? '-' : *after);
      }
      list.append('z');
      ASSERT_EQ(Text(list), left + 'z');
    }
  }
}

TEST(BtList, LoopsMayRemoveWhatTheyStandOn) {
  BtList<char> list{'a', 'b', 'c', 'd'};
  for (Cursor cursor(&list.list()); !cursor.atEnd(); cursor.next()) {
    if (*cursor.data() != 'c') list.remove(cursor);
  }
  EXPECT_EQ(Text(list), "c");
  list.insert(0, 'b');
  list.insert(2, 'd');
  Cursor first = At(&list, 0);
  Cursor last = At(&list, 2);
  list.list().swap(first, last);
  EXPECT_EQ(Text(list), "dcb");
  EXPECT_EQ(*first.data(), 'd');
}

TEST(BtList, CopiesAreDeepAndMovesTakeAll) {
  BtList<std::string> list{"a", "b", "c"};
  BtList<std::string> copy(list);
  copy[1] = "B";
  EXPECT_EQ(list[1], "b");
  EXPECT_NE(list, copy);
  const BtList<std::string> moved(std::move(copy));
  copy = moved;
  EXPECT_EQ(copy, moved);
  EXPECT_EQ(moved.position("c"), 2);
  EXPECT_FALSE(copy.removeValue("x"));
  EXPECT_TRUE(copy.removeValue("a"));
  EXPECT_EQ(copy, (BtList<std::string>{"B", "c"}));
}

// Swaps the first elements of two lists.
void SwapAcross(const std::string& text, const std::string& other_text) {
  BtList<char> list;
  BtList<char> other;
  for (const char c : text) list.append(c);
  for (const char c : other_text) other.append(c);
  Cursor c1(&list.list());
  Cursor c2(&other.list());
  list.list().swap(c1, c2);
}

TEST(BtListDeathTest, MisuseIsAnAssertion) {
  ExpectDeaths({
      {ASSERTION("i>=0"), [] { (void)BtList<char>{'a'}[-1]; }},
      {ASSERTION("i<=_count-1"), [] { (void)BtList<char>{'a'}[1]; }},
      {ASSERTION("count()>0"), [] { (void)BtList<char>().last(); }},
      {"Bt_DLListCursor::data(): retrieving data from deleted node.\n",
       [] {
         BtList<char> list{'a'};
         Cursor cursor = At(&list, 0);
         list.remove(0);
         (void)cursor.data();
       }},
      {ASSERTION("!atEnd()"), [] { Cursor(&BtList<char>().list()).next(); }},
      {ASSERTION("cursor._listPtr()==this"),
       [] {
         BtList<char> list{'a'}, other{'b'};
         Cursor cursor = At(&other, 0);
         list.remove(cursor);
       }},
      {ASSERTION("!c1.atEnd()"), [] { SwapAcross("", "b"); }},
      {ASSERTION("!c2.atEnd()"), [] { SwapAcross("a", ""); }},
      {ASSERTION("c2._listPtr()==this"), [] { SwapAcross("a", "b"); }},
      {ASSERTION("node->refCount()==0"),
       [] {
         auto list = std::make_unique<BtList<char>>(BtList<char>{'a'});
         const Cursor outlives = At(list.get(), 0);
         list.reset();
       }},
      {ASSERTION("_count==0"), [] { BtDoubleLinkedList().append(nullptr); }},
  });
}

}  // namespace
