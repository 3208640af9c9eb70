// Time in a scene, and the frame rates that files know by number.
#pragma once

#include <cstdint>
#include <limits>

// A point in time, in units of 1/46186158000 s.
using KTime = std::int64_t;
inline constexpr KTime KTIME_INFINITE = std::numeric_limits<KTime>::max();
inline constexpr KTime KTIME_ONE_SECOND = 46186158000;

// The nearest point in time. There are 6 years of seconds on either side of 0; what is beyond them
// is taken as their end.
[[nodiscard]] KTime KTimeOfSeconds(double seconds);

// The numbers of frame rates in files. Film and television have 1000/1001 of a whole rate.
enum EFbxTimeMode {
  eDEFAULT_MODE = 0,  // not stated: readers take 24, 25 or 30
  eFRAMES120 = 1,
  eFRAMES100 = 2,
  eFRAMES60 = 3,
  eFRAMES50 = 4,
  eFRAMES48 = 5,
  eFRAMES30 = 6,
  eNTSC_FULL_FRAME = 9,  // 29.97
  ePAL = 10,             // 25
  eCINEMA = 11,          // 24
  eFRAMES1000 = 12,
  eCINEMA_ND = 13,  // 23.976
  eCUSTOM = 14      // any other, which is told beside it
};

// By how many frames a second is divided.
class KFbxFrameRate {
 public:
  KFbxFrameRate() = default;  // not stated
  // A finite rate above 0. 30000/1001 and 29.97 are the same, and so are the others of their kind.
  explicit KFbxFrameRate(double frames_per_second);

  [[nodiscard]] EFbxTimeMode GetTimeMode() const { return _mode; }
  // As it is usually written: 29.97 for 30000/1001. 0 where the rate is not stated.
  [[nodiscard]] double GetFrameRate() const { return _rate; }
  // The rate that has this number in files; 0 where there is none.
  [[nodiscard]] static double OfTimeMode(double mode);

 private:
  EFbxTimeMode _mode = eDEFAULT_MODE;
  double _rate = 0;
};
