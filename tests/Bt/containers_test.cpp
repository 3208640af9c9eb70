#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "Bt/array.h"
#include "Bt/btciter.h"
#include "Bt/btcontainerutil.h"
#include "Bt/btflatmap.h"
#include "Bt/btlist.h"
#include "Bt/btmap.h"
#include "Bt/btnullable.h"
#include "Bt/btnumbered.h"
#include "Bt/btrare.h"
#include "Bt/btrbtree.h"
#include "Bt/btset.h"
#include "Bt/deathcases.h"

namespace {

using Strings = BtDArray<std::string>;

TEST(BtDArray, EveryEditLeavesExactlyItsElements) {
  const std::pair<Strings, std::function<void(Strings*)>> cases[] = {
      {{"a", "b", "c", "d"}, [](Strings* a) { a->append("d"); }},
      {{"a", "b", "c", "a"}, [](Strings* a) { a->append((*a)[0]); }},
      {{"a", "b", "c", "a", "b", "c"}, [](Strings* a) { a->append(*a); }},
      {{"x", "a", "b", "c"}, [](Strings* a) { a->insert(0, "x"); }},
      {{"a", "b", "c", "x"}, [](Strings* a) { a->insert(3, "x"); }},
      {{"a", "c"}, [](Strings* a) { a->remove(1); }},
      {{"c"}, [](Strings* a) { a->remove(0, 2); }},
      {{"a", "b", "c"}, [](Strings* a) { a->remove(3, 0); }},
      {{"a"}, [](Strings* a) { a->subSize(2); }},
      {{"a", "b", "c", ""}, [](Strings* a) { a->resize(4); }},
      {{"a", "b", "c", "a", "a"}, [](Strings* a) { a->resize(5, (*a)[0]); }},
      {{}, [](Strings* a) { a->clear(); }},
      {{"y", "z"},
       [](Strings* a) {
         *a = Strings({"y", "z"});
       }},
      {{"a", "b", "c"}, [](Strings* a) { *a = static_cast<const Strings&>(*a); }},
  };
  for (const auto& [expected, edit] : cases) {
    Strings array{"a", "b", "c"};
    edit(&array);
    EXPECT_EQ(array, expected);
  }
}

TEST(BtDArray, ResizesPlainDataToTheNewSizeOnly) {
  BtDArray<int> array(3, 7);
  const int* block = array.begin();
  array.resize(3);
  EXPECT_EQ(array.begin(), block);
  array.resize(5);
  EXPECT_EQ(array, (BtDArray<int>{7, 7, 7, 0, 0}));
  array.resize(0);
  EXPECT_EQ(array.begin(), nullptr);
}

TEST(BtDArray, LivesInAnArenaUntilItGrows) {
  constexpr int kTooMany = static_cast<int>(BtArena::kLargestPiece / sizeof(std::string)) + 1;
  BtArena arena;
  for (const int size : {0, 1, 5, kTooMany - 1, kTooMany}) {
    std::vector<Strings> arrays(300);  // more than a block
    for (Strings& array : arrays) {
      array.resizeIn(&arena, size);
      for (std::string& text : array) text = "text of more than a few bytes";
    }
    const Strings copy(arrays[7]);
    Strings moved(std::move(arrays[7]));
    EXPECT_EQ(moved, copy);
    for (const int next : {size / 2, size + 3, size, 0, 2}) {
      moved.resizeIn(&arena, next);
      ASSERT_EQ(moved.size(), next);
      for (int i = 0; i < size / 2 && next > 2; ++i) EXPECT_EQ(moved[i], copy[i]);
      std::swap(moved, arrays[8]);
      std::swap(moved, arrays[8]);
    }
    EXPECT_EQ(arrays[9], copy);
  }
  arena.clear();
}

TEST(BtDArray, GrowsOverGapsOfZeros) {
  BtDArray<std::unique_ptr<int>> table(3);
  table[1] = std::make_unique<int>(7);
  const int* const number = table[1].get();
  for (const int size : {3, 100, 1 << 20}) {
    table.resizeSparsely(size);
    ASSERT_EQ(table.size(), size);
    EXPECT_EQ(table[1].get(), number);
    EXPECT_EQ(std::count(table.begin(), table.end(), nullptr), size - 1);
  }
}

TEST(BtDynArray, DoublesItsCapacity) {
  BtDynArray<std::string> array;
  EXPECT_EQ(array.capacity(), 0);
  const std::tuple<int, int, int> steps[] = {
      {0, 0, 0}, {1, 1, 1024}, {1023, 1024, 1024}, {1, 1025, 2048}, {8000, 9025, 16384}};
  for (const auto& [added, size, capacity] : steps) {
    array.addSize(added, array.empty() ? std::string("text of more than a few bytes") : array[0]);
    EXPECT_EQ(array.size(), size);
    EXPECT_EQ(array.capacity(), capacity);
  }
  array.truncate(2);
  array.append(array[1]);
  BtDynArray<std::string> copy(array);
  copy.append("text of more than a few bytes");
  EXPECT_EQ(copy.capacity(), 1024);  // not that of the source
  EXPECT_EQ(BtDynArray<int>(BtDynArray<int>()).capacity(), 0);
  array.release();
  EXPECT_EQ(array.capacity(), 0);
  EXPECT_EQ(copy.size(), 4);
  EXPECT_EQ(copy.last(), "text of more than a few bytes");
}

TEST(BtContainerUtil, CopiesSortsAndRemovesDuplicates) {
  const auto one = std::make_unique<int>(1);
  BtDArray<int*> array_copy;
  BtCopyPtrArray(&array_copy, BtDArray<int*>{one.get(), nullptr});
  BtList<int*> list_copy;
  BtCopyPtrList(&list_copy, BtList<int*>{nullptr, one.get()});
  const std::unique_ptr<int> first(array_copy[0]), second(list_copy[1]);
  EXPECT_TRUE(*first == 1 && *second == 1 && first != one && second != one);
  EXPECT_TRUE(array_copy[1] == nullptr && list_copy[0] == nullptr);

  BtDArray<int> keys{3, 1, 3, 2, 1};
  BtDArray<char> values{'a', 'b', 'c', 'd', 'e'};
  BtSort(&keys, &values);
  EXPECT_EQ(values, (BtDArray<char>{'b', 'e', 'd', 'a', 'c'}));
  BtRemoveDupes(&keys);
  EXPECT_EQ(keys, (BtDArray<int>{1, 2, 3}));
  BtDArray<char> three{'x', 'y', 'z'};
  BtSort(&keys, &three, BtSortDirection::Descending);
  EXPECT_EQ(three, (BtDArray<char>{'z', 'y', 'x'}));
  EXPECT_TRUE(keys.isSorted(BtSortDirection::Descending));
  EXPECT_FALSE(keys.isSorted());

  BtDArray<int> same(100, 0), order(100, 0);
  for (int i = 0; i < 100; ++i) order[i] = i;
  BtSort(&same, &order);
  EXPECT_TRUE(order.isSorted());  // equal keys keep their order
}

TEST(BtCIter, WalksListsAndGrowingArrays) {
  const BtList<int> list{1, 2};
  BtDynArray<int> array;
  BtCIter<BtDynArray<int>> to(array);
  for (BtCIter<BtList<int>> from(list); !from.atEnd(); from.next(), to.next()) {
    array.append(from.data());
    EXPECT_EQ(to.data(), from.data());
  }
  EXPECT_TRUE(to.atEnd());
}

// The first argument may be a key of another kind: half of an item.
struct TreeItem {
  int number;
};
int CompareItems(void* a, void* b) {
  return static_cast<TreeItem*>(a)->number - static_cast<TreeItem*>(b)->number;
}
int CompareHalf(void* half, void* item) {
  return 2 * *static_cast<int*>(half) - static_cast<TreeItem*>(item)->number;
}

TEST(BtRBTree, BehavesAsASet) {
  std::vector<TreeItem> items(300);
  for (int i = 0; i < 300; ++i) items[static_cast<std::size_t>(i)] = {i};
  BtRBTreeBase tree;
  std::set<int> twin;
  std::mt19937 random(11);
  for (int step = 0; step < 5000; ++step) {
    TreeItem* const item = &items[random() % items.size()];
    if ((step / 1000) % 2 == 1) {
      const bool is_there = twin.erase(item->number) > 0;
      ASSERT_EQ(tree.remove(item, CompareItems), is_there ? item : nullptr);
    } else if (twin.insert(item->number).second) {
      tree.insert(item, CompareItems);
    }
    int half = item->number / 2;
    TreeItem* const even = &items[2 * static_cast<std::size_t>(half)];
    ASSERT_EQ(tree.find(&half, CompareHalf), twin.contains(2 * half) ? even : nullptr);
  }
  ASSERT_EQ(tree.count(), static_cast<int>(twin.size()));
  auto expected = twin.begin();
  for (BtRBTreeIter iter(tree); !iter.atEnd(); iter.next(), ++expected) {
    EXPECT_EQ(static_cast<TreeItem*>(iter.data())->number, *expected);
  }
}

// Few names, so that each comes and goes often, and enough of them that searches run through
// neighbours in the table.
constexpr int kNames = 40;

TEST(BtFlatMap, KeepsWhatAnUnorderedMapWould) {
  std::mt19937 random(20261121);
  BtFlatMap<std::string, int> map;
  map.reserve(kNames / 4);
  std::unordered_map<std::string, int> expected;
  for (int step = 0; step < 20000; ++step) {
    const std::string name = "limb_" + std::to_string(random() % kNames);
    const auto entry = map.find(name);
    ASSERT_EQ(entry != map.end(), expected.contains(name)) << "step " << step;
    if (random() % 2 == 0) {
      const auto [added, is_new] = map.try_emplace(name, step);
      EXPECT_EQ(is_new, expected.try_emplace(name, step).second);
      EXPECT_EQ(added->second, expected[name]);
      EXPECT_EQ(map.valueAt(map.placeOf(added)), expected[name]);
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
  std::size_t n_values = 0;
  map.forEachValue([&n_values](int) { ++n_values; });
  EXPECT_EQ(n_values, expected.size());
  map.clear();
  EXPECT_EQ(map.find("limb_0"), map.end());
}

using Cursor = BtDLListCursor<char>;

template <class T>
std::string Text(const BtList<T>& list) {
  std::string text;
  for (const T& letter : list) text += letter;
  return text;
}

// A cursor at position i of a list.
template <class T>
BtDLListCursor<T> At(BtList<T>* list, int i) {
  BtDLListCursor<T> cursor(&list->list());
  for (; i > 0; --i) cursor.next();
  return cursor;
}

// Every set of removed elements under every set of cursors; letter(c) is an element.
template <class T, class Letter>
void RemoveUnderCursors(Letter letter) {
  const std::string all = "abcde";
  for (unsigned removed = 0; removed < 32; ++removed) {
    for (unsigned held = 0; held < 32; ++held) {
      BtList<T> list;
      for (const char c : all) list.append(letter(c));
      std::vector<std::pair<char, BtDLListCursor<T>>> cursors;
      std::string left;
      for (int i = 0; i < 5; ++i) {
        const char c = all[static_cast<std::size_t>(i)];
        // Two on a node: it must stay until the second one leaves.
        if ((held >> i & 1) != 0) cursors.insert(cursors.end(), 2, {c, At(&list, i)});
        if ((removed >> i & 1) == 0) left += c;
      }
      for (int i = 0; i < 5; ++i) {
        if ((removed >> i & 1) != 0) list.removeValue(letter(all[static_cast<std::size_t>(i)]));
      }
      ASSERT_EQ(Text(list), left);
      ASSERT_EQ(list.count(), static_cast<int>(left.size()));
      for (int i = 0; i < list.count(); ++i)
        ASSERT_EQ(list[i], letter(left[static_cast<std::size_t>(i)]));
      ASSERT_TRUE(left.empty() || list.last() == letter(left.back()));
      for (const auto& [c, cursor] : cursors) {
        const auto at = std::lower_bound(left.begin(), left.end(), c);
        ASSERT_EQ(cursor.position(), at - left.begin());
      }
      for (auto& [c, cursor] : cursors) {
        const auto after = std::upper_bound(left.begin(), left.end(), c);
        cursor.next();
        ASSERT_EQ(cursor.atEnd() ? letter('-') : *cursor.data(),
                  letter(after == left.end() ? '-' : *after));
      }
      list.append(letter('z'));
      ASSERT_EQ(Text(list), left + 'z');
    }
  }
}

// Small elements stand in the nodes, others apart.
TEST(BtList, CursorsSurviveTheRemovalOfTheirElement) {
  RemoveUnderCursors<char>([](char c) { return c; });
  RemoveUnderCursors<std::string>([](char c) { return std::string(1, c); });
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
  BtDLListIter<std::string> last(&std::as_const(list).list());
  while (*last.data() != "c") last.next();
  EXPECT_EQ(last.position(), 2);
  const BtList<std::string> moved(std::move(copy));
  copy = moved;
  EXPECT_EQ(copy, moved);
  EXPECT_EQ(moved.position("c"), 2);
  EXPECT_FALSE(copy.removeValue("x"));
  EXPECT_TRUE(copy.removeValue("a"));
  EXPECT_EQ(copy, (BtList<std::string>{"B", "c"}));
}

TEST(ContainersDeathTest, MisuseIsAnAssertion) {
  static BtArray<int> two{2, 1};
  static const BtMap<int, int> map;
  static BtDArray<int> unsorted{2, 1};
  static BtDArray<int*> filled(1);
  static TreeItem item = {1};
  static BtRBTreeBase tree;
  tree.insert(&item, CompareItems);
  static BtRBTreeBase watched;
  static const BtRBTreeIter watcher(watched);
  static BtList<char> list{'a'};
  static BtList<char> other{'x', 'b'};
  static auto released = std::make_unique<BtList<char>>(list);
  static Cursor a = At(&list, 0);
  static Cursor b = At(&other, 1);
  static Cursor removed = At(&other, 0);
  static Cursor end = Cursor(&BtList<char>().list());
  static const Cursor outlives = At(released.get(), 0);
  other.remove(0);
  static BtList<char> untouched{'c'};
  ExpectDeaths({{"Bt_DLListCursor::data(): retrieving data from deleted node.\n",
                 [] { (void)removed.data(); }}});
  ExpectAssertions({
      {"i>=0", [] { (void)two[-1]; }},
      {"i<_size", [] { (void)two[2]; }},
      {"n>=0", [] { BtDArray<int>(3).subSize(4); }},
      {"_size==o.size()", [] { BtArray<int>(1) = two; }},
      {"_size==o.size()", [] { BtArray<int>(1) = BtArray<int>(2); }},
      {"size()==o.size()", [] { BtArray<int>(1).setElements(two); }},
      {"amount>=0", [] { BtDynArray<int>().addSize(-1, 0); }},
      {"!_is_null", [] { (void)BtNullable<int>().data(); }},
      {"iter!=end()", [] { (void)map[1]; }},
      {"count==1", [] { BtMap<int, int>().remove(1); }},
      {"count==1", [] { BtSet<int>().remove(1); }},
      {"!atEnd()", [] { (void)BtCIter<BtList<int>>(BtList<int>()).data(); }},
      {"!atEnd()", [] { BtCIter<BtDArray<int>>(BtDArray<int>()).next(); }},
      {"array->size() == 0", [] { BtCopyPtrArray(&filled, filled); }},
      {"array_ptr->isSorted()", [] { BtRemoveDupes(&unsorted); }},
      {"cmp_val!=0", [] { tree.insert(&item, CompareItems); }},
      {"this->_hasNoIters()", [] { watched.insert(&item, CompareItems); }},
      {"i>=0", [] { (void)list[-1]; }},
      {"i<=_count-1", [] { (void)list[1]; }},
      {"count()>0", [] { (void)BtList<char>().last(); }},
      {"!atEnd()", [] { end.next(); }},
      {"cursor._listPtr()==this", [] { list.remove(b); }},
      {"!c1.atEnd()", [] { list.list().swap(end, b); }},
      {"!c2.atEnd()", [] { list.list().swap(a, end); }},
      {"c2._listPtr()==this", [] { list.list().swap(a, b); }},
      {"!c1._node->isDeleted()", [] { other.list().swap(removed, b); }},
      {"!c2._node->isDeleted()", [] { other.list().swap(b, removed); }},
      {"_n_cursors==0", [] { untouched = std::move(list); }},
      {"_n_cursors==0", [] { list = std::move(untouched); }},
      {"_n_cursors==0", [] { const BtList<char> moved(std::move(list)); }},
      {"node->refCount()==0", [] { released.reset(); }},
      {"_count==0", [] { BtDoubleLinkedList().append(nullptr); }},
  });
  EXPECT_EXIT(BtReallocOrExit(nullptr, std::size_t{1} << 62, 8), testing::ExitedWithCode(1),
              "^Unable to allocate memory!\nAttempted to allocate 4611686018427387904 elements, "
              "total size: 36893488147419103232\n$");
}

TEST(BtRare, CopiesChangeApartAndCompareByValue) {
  using Rare = BtRare<std::vector<int>>;
  Rare none;
  EXPECT_TRUE(none->empty());
  Rare some(std::vector<int>{1, 2});
  Rare copy = some;
  copy.change().push_back(3);
  EXPECT_EQ(*some, (std::vector<int>{1, 2}));
  none = some;
  EXPECT_EQ(none, some);
  EXPECT_FALSE(copy == some);
  none.change().clear();
  EXPECT_EQ(none, Rare());
}

// An object that counts its owners, and all of its kind that there are.
struct Counted {
  explicit Counted(int v) : value(v) { ++n_alive; }
  ~Counted() { --n_alive; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  [[nodiscard]] int refCount() const { return n_owners; }
  void incRefCount() { ++n_owners; }
  int decRefCount() { return --n_owners; }

  static inline int n_alive = 0;
  int value;
  int n_owners = 1;
};

TEST(BtNumbered, HasTheOwnersOfASharedPointer) {
  constexpr std::size_t kPlaces = 20;
  std::vector<BtNumbered<Counted>> numbered(kPlaces);
  std::vector<std::shared_ptr<int>> pointers(kPlaces);
  std::mt19937 random(5);
  for (int round = 0; round < 5000; ++round) {
    const std::size_t to = random() % kPlaces;
    const std::size_t from = random() % kPlaces;
    switch (random() % 4) {
      case 0:
        numbered[to] = BtNumbered(std::make_unique<Counted>(round));
        pointers[to] = std::make_shared<int>(round);
        break;
      case 1:
        numbered[to] = numbered[from];
        pointers[to] = pointers[from];
        break;
      case 2:
        numbered[to] = BtNumbered(std::move(numbered[from]));
        pointers[to] = std::shared_ptr(std::move(pointers[from]));
        break;
      default:
        numbered[to] = BtNumbered<Counted>();
        pointers[to].reset();
    }
    std::set<const int*> alive;
    for (std::size_t i = 0; i < kPlaces; ++i) {
      ASSERT_EQ(numbered[i].nOwners(), pointers[i].use_count());
      if (pointers[i] == nullptr) continue;
      ASSERT_EQ(numbered[i]->value, *pointers[i]);
      alive.insert(pointers[i].get());
    }
    ASSERT_EQ(Counted::n_alive, static_cast<int>(alive.size()));
  }
}

}  // namespace
