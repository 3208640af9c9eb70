// Matches by name what two files have.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "Bt/bthash.h"

// The name of what answers it, or has it.
template <class T>
std::string_view NameForPair(const T& element) {
  if constexpr (requires { element.name().view(); }) {
    return element.name().view();
  } else {
    return element.name;
  }
}

// Pairs what has one name in both lists, the first with the first and so on where several have it.
// Calls visit(a, b) for the elements of `a` in order, then for those of `b` that are left over;
// what has no partner comes with null.
template <class T, class Visit>
void ForEachPair(const std::vector<const T*>& a, const std::vector<const T*>& b, Visit visit) {
  BtHashMap<std::string_view, std::vector<std::size_t>> places;  // in `b`, the last first
  for (std::size_t i = b.size(); i-- > 0;) places[NameForPair(*b[i])].push_back(i);
  std::vector<bool> paired(b.size());
  for (const T* element : a) {
    const auto found = places.find(NameForPair(*element));
    if (found == places.end() || found->second.empty()) {
      visit(element, static_cast<const T*>(nullptr));
      continue;
    }
    const std::size_t place = found->second.back();
    found->second.pop_back();
    paired[place] = true;
    visit(element, b[place]);
  }
  for (std::size_t i = 0; i < b.size(); ++i) {
    if (!paired[i]) visit(static_cast<const T*>(nullptr), b[i]);
  }
}

// The same of lists of the elements themselves.
template <class T, class Visit>
void ForEachPair(const std::vector<T>& a, const std::vector<T>& b, Visit visit) {
  std::vector<const T*> in_a;
  std::vector<const T*> in_b;
  in_a.reserve(a.size());
  in_b.reserve(b.size());
  for (const T& element : a) in_a.push_back(&element);
  for (const T& element : b) in_b.push_back(&element);
  ForEachPair(in_a, in_b, visit);
}
