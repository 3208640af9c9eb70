// Helpers over the containers: deep copies, duplicates, sorting of parallel arrays.
#pragma once

#include <algorithm>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include "Bt/array.h"
#include "Bt/btassert.h"
#include "Bt/btlist.h"

// A copy of what a pointer points to, null for null. The caller owns it.
template <class T>
T* BtCopyPtr(const T* original) {
  return original == nullptr ? nullptr : std::make_unique<T>(*original).release();
}

// Deep copies into an empty array; whoever owns the array owns the copies.
template <class T>
void BtCopyPtrArray(BtDArray<T*>* array, const BtArray<T*>& src) {
  BtAssert(array->empty(), "array->size() == 0");
  array->resize(src.size());
  std::transform(src.begin(), src.end(), array->begin(),
                 [](const T* original) { return BtCopyPtr(original); });
}

// Deep copies into an empty list; whoever owns the list owns the copies.
template <class T>
void BtCopyPtrList(BtList<T*>* list, const BtList<T*>& src) {
  BtAssert(list->empty(), "list->count() == 0");
  for (const T* original : src) list->append(BtCopyPtr(original));
}

// Removes all but the first of equal elements from an array in ascending order.
template <class T>
void BtRemoveDupes(BtDArray<T>* array_ptr) {
  BtAssert(array_ptr->isSorted(), "array_ptr->isSorted()");
  const T* unique_end = std::unique(array_ptr->begin(), array_ptr->end());
  array_ptr->subSize(static_cast<int>(array_ptr->end() - unique_end));
}

// Sorts two arrays of one size by the keys; equal keys keep their order.
template <class K, class V>
void BtSort(BtArray<K>* keys, BtArray<V>* values,
            BtSortDirection direction = BtSortDirection::Ascending) {
  BtAssert(keys->size() == values->size(), "keys->size()==values->size()");
  std::vector<int> order(static_cast<std::size_t>(keys->size()));
  std::iota(order.begin(), order.end(), 0);
  const bool ascending = direction == BtSortDirection::Ascending;
  std::stable_sort(order.begin(), order.end(), [keys, ascending](int a, int b) {
    return ascending ? (*keys)[a] < (*keys)[b] : (*keys)[b] < (*keys)[a];
  });
  const auto reorder = [&order](auto* array) {
    std::remove_pointer_t<decltype(array)> sorted(array->size());
    std::transform(order.begin(), order.end(), sorted.begin(),
                   [array](int from) { return std::move((*array)[from]); });
    std::move(sorted.begin(), sorted.end(), array->begin());
  };
  reorder(keys);
  reorder(values);
}
