#include "Fbx/kfbxtime.h"

#include <algorithm>
#include <cmath>

#include "Bt/btassert.h"

namespace {

struct KnownRate {
  double rate;
  EFbxTimeMode mode;
};

constexpr KnownRate kKnownRates[] = {
    {23.976, eCINEMA_ND}, {24, eCINEMA},     {25, ePAL},        {29.97, eNTSC_FULL_FRAME},
    {30, eFRAMES30},      {48, eFRAMES48},   {50, eFRAMES50},   {59.94, eCUSTOM},
    {60, eFRAMES60},      {100, eFRAMES100}, {119.88, eCUSTOM}, {120, eFRAMES120},
    {1000, eFRAMES1000},
};

// Tells 23.976 and 24000/1001 from 24, which is a thousandth away, but not from each other.
constexpr double kSameRate = 1e-5;

}  // namespace

KTime KTimeOfSeconds(double seconds) {
  constexpr double kMost = 6 * 365.0 * 86400;
  return std::llround(std::clamp(seconds, -kMost, kMost) * static_cast<double>(KTIME_ONE_SECOND));
}

KFbxFrameRate::KFbxFrameRate(double frames_per_second) : _mode(eCUSTOM), _rate(frames_per_second) {
  BtAssert(frames_per_second > 0 && std::isfinite(frames_per_second));
  for (const KnownRate& known : kKnownRates) {
    if (std::fabs(frames_per_second - known.rate) > kSameRate * known.rate) continue;
    _mode = known.mode;
    _rate = known.rate;
  }
}

double KFbxFrameRate::OfTimeMode(double mode) {
  for (const KnownRate& known : kKnownRates) {
    if (known.mode != eCUSTOM && mode == static_cast<double>(known.mode)) return known.rate;
  }
  return 0;
}
