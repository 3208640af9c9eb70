// Motion files: what is read is read again from what it is written as, and can be put in other
// frames.
#include <cmath>
#include <limits>
#include <sstream>

#include "Ba/bamotion.h"
#include "Bt/btexcept.h"
#include "btviewstream.h"
#include "fuzzing.h"

namespace {

constexpr double kMostFrames = 10000;

bool Scan(std::string_view text, BaMotion* motion) {
  BtViewStream is(text);
  const bool read = motion->scanFrom(is, "motion.csv");
  BtAssert(read != BtError());
  BtAssert(read || motion->numFrames() == 0);
  return read;
}

// Times may be off by rounding where they turn out to be even.
bool AreNear(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return false;
  const double magnitude = std::max(std::abs(a.front()), std::abs(a.back()));
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::abs(a[i] - b[i]) > 32 * std::numeric_limits<double>::epsilon() * magnitude) {
      return false;
    }
  }
  return true;
}

}  // namespace

void FuzzOne(std::string_view input) {
  BaMotion motion;
  if (!Scan(input, &motion)) return;
  std::ostringstream written;
  motion.printOn(written);
  BaMotion again;
  BtAssert(Scan(written.view(), &again));
  BtAssert(AreNear(again.times(), motion.times()));
  BtAssert(again.sysVarIds() == motion.sysVarIds() && again.comments() == motion.comments());
  for (const int id : motion.sysVarIds()) {
    const auto values = motion.values(id);
    BtAssert(std::equal(values.begin(), values.end(), again.values(id).begin()));
  }
  for (const double rate : {motion.rate(), 24.0}) {
    if (motion.numFramesAt(rate) > kMostFrames) continue;
    const BaMotion resampled = motion.resampled(rate);
    BtAssert(resampled.numFrames() >= 1 && resampled.sysVarIds() == motion.sysVarIds());
  }
  BtAssert(motion.cut(motion.times().front(), motion.times().back()) == motion);
}
