// What the times of frames tell: whether they are even, and at which rate.
#include <algorithm>
#include <cmath>
#include <limits>

#include "Ba/bamotion.h"

namespace {

// The rates in use, the exact ones for those that are known by a rounded number.
constexpr double kKnownRates[] = {24000.0 / 1001, 24, 25,  30000.0 / 1001,  30,  50,
                                  60000.0 / 1001, 60, 100, 120000.0 / 1001, 120, 240};

// By how much a rounded number may miss the rate that it means.
constexpr double kNameTolerance = 5e-4;

// How far the rate of uneven times may be from one in use to be taken for it, as a part of it.
constexpr double kNearRate = 0.01;

// Rounding that is small beside the step of a frame, as a part of it.
constexpr double kSmallRounding = 0.1;

// Decimals that a rate is looked for with.
constexpr int kMostRateDecimals = 9;

double NearestKnown(double rate) {
  return *std::min_element(std::begin(kKnownRates), std::end(kKnownRates), [rate](auto a, auto b) {
    return std::abs(a - rate) < std::abs(b - rate);
  });
}

double RoundedTo(double value, int decimals) {
  const double scale = std::pow(10.0, decimals);
  return std::round(value * scale) / scale;
}

// Whether a rate explains all times within their rounding; `even` gets the times that it gives.
bool Explains(double rate, const std::vector<double>& times, double tolerance,
              std::vector<double>* even) {
  if (!(rate > 0) || !std::isfinite(rate)) return false;
  // The first time is rounded as well; where it can stand for a whole frame it does.
  const double first_frame = times.front() * rate;
  const double whole = std::round(first_frame);
  const bool is_whole = std::abs(first_frame - whole) <= tolerance * rate;
  even->clear();
  for (std::size_t i = 0; i < times.size(); ++i) {
    const double time =
        is_whole ? (whole + static_cast<double>(i)) / rate : BaFrameTime(times.front(), rate, i);
    if (std::abs(time - times[i]) > tolerance) return false;
    even->push_back(time);
  }
  return true;
}

// The rate that explains all times, 0 where none does. Times that are rounded may hide any rate
// that is near, so rounding counts only for rates in use and, where it is small, for whole numbers;
// others must give the times as they stand.
double FindRate(const std::vector<double>& times, double rounding, double tolerance,
                std::vector<double>* even) {
  const double measured = static_cast<double>(times.size() - 1) / (times.back() - times.front());
  const double known = NearestKnown(measured);
  if (Explains(known, times, rounding / 2 + tolerance, even)) return known;
  for (int decimals = 0; decimals <= kMostRateDecimals; ++decimals) {
    const double rate = RoundedTo(measured, decimals);
    if (Explains(rate, times, tolerance, even)) return rate;
  }
  if (Explains(measured, times, tolerance, even)) return measured;
  const double whole = std::round(measured);
  const bool is_small = rounding * measured <= kSmallRounding;
  return is_small && Explains(whole, times, rounding / 2 + tolerance, even) ? whole : 0;
}

// The rate of most steps between times of which there are two at least.
double TypicalRate(const std::vector<double>& times) {
  std::vector<double> steps(times.size() - 1);
  for (std::size_t i = 0; i < steps.size(); ++i) steps[i] = times[i + 1] - times[i];
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  const double rate = 1 / *middle;
  const double known = NearestKnown(rate);
  if (std::abs(known - rate) <= kNearRate * known) return known;
  const double rounded = RoundedTo(rate, 3);
  if (rounded > 0 && std::isfinite(rounded)) return rounded;
  return std::isfinite(rate) ? rate : BaMotion::kDefaultRate;
}

}  // namespace

double BaExactFrameRate(double frames_per_second) {
  const double known = NearestKnown(frames_per_second);
  return std::abs(known - frames_per_second) < kNameTolerance ? known : frames_per_second;
}

bool BaIsKnownFrameRate(double frames_per_second) {
  return NearestKnown(frames_per_second) == frames_per_second;
}

double BaFrameTime(double first, double rate, std::size_t frame) {
  const double first_frame = std::round(first * rate);
  const auto number = static_cast<double>(frame);
  // Quotients of whole numbers are the same at every rate that has the frame.
  return first_frame / rate == first ? (first_frame + number) / rate : first + number / rate;
}

// `rounding` is what the last decimal of the times stands for; 0 for times that were not rounded.
void BaMotion::_setTimes(std::vector<double> times, double rate, double rounding) {
  _times = std::move(times);
  _rate = rate > 0 ? rate : kDefaultRate;
  _is_even = true;
  if (_times.size() < 2) return;
  const double magnitude = std::max(std::abs(_times.front()), std::abs(_times.back()));
  const double tolerance = 8 * std::numeric_limits<double>::epsilon() * magnitude;
  std::vector<double> even;
  if (rate > 0) {
    _is_even = Explains(rate, _times, rounding / 2 + tolerance, &even);
  } else {
    const double found = FindRate(_times, rounding, tolerance, &even);
    _is_even = found > 0;
    _rate = _is_even ? found : TypicalRate(_times);
  }
  if (_is_even) _times = std::move(even);
}
