#include "Ba/bamotion.h"

#include <algorithm>
#include <cmath>

#include "Ba/bamapping.h"

namespace {

// Seconds by which a time may miss the end of a cut: more than rounding explains, and much less
// than any frame lasts.
constexpr double kCutTolerance = 1e-9;

// Parts of a frame by which the last one may miss the end of a resampled motion.
constexpr double kFrameTolerance = 1e-6;

// Where a time lies among others: behind the one of this index by this part of the way to the next.
using PlaceInTime = std::pair<std::size_t, double>;

// The places of ascending times, none of which is before the first of `others`.
std::vector<PlaceInTime> PlacesOf(const std::vector<double>& times,
                                  const std::vector<double>& others) {
  std::vector<PlaceInTime> places;
  places.reserve(times.size());
  std::size_t before = 0;
  for (const double time : times) {
    while (before + 1 < others.size() && others[before + 1] <= time) ++before;
    const bool is_last = before + 1 == others.size();
    const double span = is_last ? 1 : others[before + 1] - others[before];
    places.emplace_back(before, is_last ? 0 : (time - others[before]) / span);
  }
  return places;
}

}  // namespace

int BaMotion::_column(int sysvar_id) const {
  const auto* const found = _columns.find(sysvar_id);
  return found == _columns.end() ? -1 : found->second;
}

int BaMotion::_addColumn(int sysvar_id) {
  const auto column = static_cast<int>(_sysvar_ids.size());
  if (!_columns.try_emplace(sysvar_id, column).second) return -1;
  _sysvar_ids.push_back(sysvar_id);
  _values.emplace_back();
  return column;
}

std::span<const float> BaMotion::values(int sysvar_id) const {
  const int column = _column(sysvar_id);
  if (column < 0) return {};
  return _values[static_cast<std::size_t>(column)];
}

BaFrame BaMotion::frame(int frame) const {
  BtAssert(frame >= 0 && frame < numFrames());
  BaFrame values;
  for (std::size_t i = 0; i < _values.size(); ++i) {
    values.set(_sysvar_ids[i], static_cast<double>(_values[i][static_cast<std::size_t>(frame)]));
  }
  return values;
}

void BaMotion::getValues(const BaUnlockedTransform& transform, std::vector<double>* values) const {
  values->assign(_times.size(), static_cast<double>(transform.constant()));
  const auto add = [this, values](int sysvar_id, double factor) {
    double* sum = values->data();
    for (const float value : this->values(sysvar_id)) *sum++ += factor * static_cast<double>(value);
  };
  if (transform.exists() && !transform.isCombination()) add(transform.sysVarId(), 1);
  for (const BaUnlockedTransform::Term& term : transform.terms()) {
    add(term.sysvar_id, static_cast<double>(term.coefficient));
  }
}

void BaMotion::setTimes(std::vector<double> times, double rate) {
  for (std::size_t i = 0; i < times.size(); ++i) {
    BtAssert(std::isfinite(times[i]) && (i == 0 || times[i - 1] < times[i]), "times ascend");
  }
  clear();
  _setTimes(std::move(times), rate, 0);
}

void BaMotion::setValues(int sysvar_id, std::vector<float> values) {
  BtAssert(sysvar_id >= 1, "sysvar_id>=1");
  BtAssert(values.size() == _times.size(), "values.size()==times.size()");
  for (const float value : values) BtAssert(std::isfinite(value), "isfinite(value)");
  int column = _column(sysvar_id);
  if (column < 0) column = _addColumn(sysvar_id);
  _values[static_cast<std::size_t>(column)] = std::move(values);
}

void BaMotion::addComment(const BtStr& comment) {
  BtAssert(comment.view().find_first_of("\r\n") == std::string_view::npos);
  _comments.push_back(comment);
}

double BaMotion::numFramesAt(double rate) const {
  return _times.empty() ? 0 : std::floor(length() * rate + kFrameTolerance) + 1;
}

BaMotion BaMotion::resampled(double rate) const {
  BtAssert(rate > 0 && numFramesAt(rate) <= std::numeric_limits<int>::max());
  BaMotion motion;
  motion._comments = _comments;
  motion._rate = rate;
  if (_times.empty()) return motion;
  motion._times.resize(static_cast<std::size_t>(numFramesAt(rate)));
  for (std::size_t i = 0; i < motion._times.size(); ++i) {
    motion._times[i] = BaFrameTime(_times.front(), rate, i);
  }
  const std::vector<PlaceInTime> places = PlacesOf(motion._times, _times);
  for (std::size_t column = 0; column < _values.size(); ++column) {
    const std::vector<float>& from = _values[column];
    motion._addColumn(_sysvar_ids[column]);
    std::vector<float>& to = motion._values.back();
    to.reserve(places.size());
    for (const auto& [place, part] : places) {
      const auto value = static_cast<double>(from[place]);
      const double change = part > 0 ? static_cast<double>(from[place + 1]) - value : 0;
      to.push_back(static_cast<float>(value + part * change));
    }
  }
  return motion;
}

BaMotion BaMotion::cut(double from, double to) const {
  const auto first = std::lower_bound(_times.begin(), _times.end(), from - kCutTolerance);
  const auto behind = std::upper_bound(first, _times.end(), to + kCutTolerance);
  BaMotion motion;
  motion._comments = _comments;
  motion._rate = _rate;
  motion._is_even = _is_even;
  motion._times.assign(first, behind);
  for (std::size_t column = 0; column < _values.size(); ++column) {
    motion._addColumn(_sysvar_ids[column]);
    motion._values.back().assign(_values[column].begin() + (first - _times.begin()),
                                 _values[column].begin() + (behind - _times.begin()));
  }
  return motion;
}

bool BaMotion::operator==(const BaMotion& other) const {
  return _rate == other._rate && _is_even == other._is_even && _times == other._times &&
         _sysvar_ids == other._sysvar_ids && _values == other._values &&
         _comments == other._comments;
}

int BaHighestSysVarKnown(const BaUnlockedMapping& mapping) {
  return std::max(mapping.numSysVarsStated(), mapping.highestSysVarUsed());
}
