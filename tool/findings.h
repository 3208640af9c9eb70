// What was found in a character, as data.
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "findingkinds.h"
#include "where.h"

// What a finding is about.
struct Place {
  const char* kind;  // "model", "mapping", "body", "material", "slider", "variable"
  std::string name;
  std::optional<int> id;
};

// Which line of the files shows it. At first the record of what it is about is meant.
struct Spot {
  bool in_mapping = false;  // the map of the body, the line of the slider and so on
  std::string key = {};     // of a line in the record
  std::string value = {};   // which that line has; any where it is empty
  std::optional<std::array<float, 3>> vertex = {};  // of the body, where it has one
  std::optional<std::array<float, 2>> uv = {};      // texture coordinates of it
  int map_of = 0;  // the id of the body whose map has it, where it is not about that body
};

struct Finding {
  const FindingKind* kind;
  Place place;
  std::string text;
  int count = 1;          // how many vertices, polygons or messages it stands for
  Where where = {};       // as far as it is known
  std::string body = {};  // the names of those that it concerns, empty for none
  std::string material = {};
  Spot spot = {};
  std::string detail = {};  // lines to be shown below it, as they are
};

class Findings {
 public:
  void add(Finding finding) {
    if (finding.body.empty() && std::string_view(finding.place.kind) == "body")
      finding.body = finding.place.name;
    if (finding.material.empty() && std::string_view(finding.place.kind) == "material")
      finding.material = finding.place.name;
    _list.push_back(std::move(finding));
  }
  void add(const FindingKind* kind, Place place, std::string text, int count = 1, Spot spot = {}) {
    Finding finding = {kind, std::move(place), std::move(text), count};
    finding.spot = std::move(spot);
    add(std::move(finding));
  }
  [[nodiscard]] const std::vector<Finding>& list() const { return _list; }
  [[nodiscard]] std::vector<Finding>& list() { return _list; }
  [[nodiscard]] bool has(const FindingKind* kind) const {
    return std::any_of(_list.begin(), _list.end(),
                       [kind](const Finding& f) { return f.kind == kind; });
  }
  [[nodiscard]] int count(Severity severity) const {
    return static_cast<int>(std::count_if(_list.begin(), _list.end(), [severity](const Finding& f) {
      return f.kind->severity == severity;
    }));
  }

 private:
  std::vector<Finding> _list;
};
