// "motion resample" and "motion cut": write motion at another rate, or a part of it.
#include <limits>

#include "Ba/bamotion.h"
#include "arguments.h"
#include "motionfiles.h"
#include "sourcefiles.h"
#include "style.h"

namespace {

// The file that is read cannot be the one that is written.
SourceFiles SourcesOfEdit(const Arguments& arguments) {
  SourceFiles sources;
  sources.add(arguments.files.front().c_str());
  return sources;
}

bool ReadTo(BaMotion* motion, const Arguments& arguments) {
  const std::string& file = arguments.files.front();
  return CheckPositive("--rate", arguments.rate, true) &&
         TellMessages(file, ReadMotion(file, arguments.rate, motion));
}

}  // namespace

int RunMotionResample(const Arguments& arguments) {
  BaMotion motion;
  if (!CheckPositive("--to", arguments.new_rate) || !ReadTo(&motion, arguments)) {
    return kExitTrouble;
  }
  const double rate = BaExactFrameRate(arguments.new_rate);
  const double frames = motion.numFramesAt(rate);
  if (frames > std::numeric_limits<int>::max()) {
    Complain(arguments.files.front(), Short(frames) + " frames are too many");
    return kExitTrouble;
  }
  return WriteMotion(arguments.output, SourcesOfEdit(arguments), motion.resampled(rate));
}

int RunMotionCut(const Arguments& arguments) {
  BaMotion motion;
  if (!ReadTo(&motion, arguments)) return kExitTrouble;
  const BaMotion part = motion.cut(arguments.from, arguments.to);
  if (part.numFrames() > 0) return WriteMotion(arguments.output, SourcesOfEdit(arguments), part);
  Complain(arguments.files.front(), "no frames lie there: the motion goes from " +
                                        Short(motion.times().front()) + " to " +
                                        Short(motion.times().back()) + " s");
  return kExitTrouble;
}
