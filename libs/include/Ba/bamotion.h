// Captured motion: the values of numbered system variables at a row of times, and the text form in
// which it is exchanged, a CSV file that docs/motion.md describes.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <limits>
#include <span>
#include <vector>

#include "Ba/baframe.h"
#include "Ba/batransform.h"
#include "Bt/btflatmap.h"
#include "Bt/btstr.h"

class BaUnlockedMapping;

// Frames count from 0. Times are in seconds and ascend; they need not begin at 0 nor be evenly
// spaced. Values are in units that whoever made the file knows: see BaVariableUnits.
class BaMotion {
 public:
  // The rate of frames whose times tell none.
  static constexpr double kDefaultRate = 30;

  // How a file is to be read.
  struct Reading {
    double rate = 0;  // frames per second; 0 for what the times tell or, without times, 30
    // Variables above this are errors: see BaHighestSysVarKnown().
    int highest_sysvar_id = std::numeric_limits<int>::max();
  };

  // Replace the content by that of a file, which may be compressed ("gz", "Z"), or of a stream,
  // which messages call `name`. False, with one error recorded that names file, line and column and
  // the motion empty, when that fails.
  bool read(const BtStr& file, const Reading& how);
  bool read(const BtStr& file) { return read(file, Reading()); }
  bool scanFrom(std::istream& is, const BtStr& name, const Reading& how);
  bool scanFrom(std::istream& is, const BtStr& name) { return scanFrom(is, name, Reading()); }
  // Writes comments, header line and frames so that reading gives the same times and values.
  void printOn(std::ostream& os) const;
  // The same to a file. False, with an error recorded and an older file as it was, where that
  // fails.
  bool save(const char* file) const;

  [[nodiscard]] int numFrames() const { return static_cast<int>(_times.size()); }
  [[nodiscard]] const std::vector<double>& times() const { return _times; }
  // Frames per second. Where times are not even this is the rate that most of them are near to.
  [[nodiscard]] double rate() const { return _rate; }
  // True when every frame stands one rate's step behind the one before it.
  [[nodiscard]] bool isEven() const { return _is_even; }
  // Seconds from the first to the last frame.
  [[nodiscard]] double length() const {
    return _times.empty() ? 0 : _times.back() - _times.front();
  }

  // The variables that are held, in the order of their columns.
  [[nodiscard]] const std::vector<int>& sysVarIds() const { return _sysvar_ids; }
  [[nodiscard]] bool holds(int sysvar_id) const { return _column(sysvar_id) >= 0; }
  // The values of a variable, one for each frame; empty where it is not held, which means that it
  // is 0.
  [[nodiscard]] std::span<const float> values(int sysvar_id) const;
  // All values of one frame.
  [[nodiscard]] BaFrame frame(int frame) const;
  // The value of a transform in every frame, in the units of the variables.
  void getValues(const BaUnlockedTransform& transform, std::vector<double>* values) const;
  // Lines of text, each without its mark, that stand before the header line of a file.
  [[nodiscard]] const std::vector<BtStr>& comments() const { return _comments; }

  // Replaces everything by frames at these times, which must be finite and ascend, without
  // variables. A rate of 0 stands for what the times tell.
  void setTimes(std::vector<double> times, double rate = 0);
  // Sets or adds a variable, 1 or above, with one finite value for each frame.
  void setValues(int sysvar_id, std::vector<float> values);
  // A comment may hold no line ends.
  void addComment(const BtStr& comment);
  void clear() { *this = BaMotion(); }

  // The motion at times that are even at another rate, from the first frame on and not beyond the
  // last one; values between frames are on the straight line between them. The answer would have
  // this many frames; BaMotion holds up to 2147483647.
  [[nodiscard]] double numFramesAt(double rate) const;
  [[nodiscard]] BaMotion resampled(double rate) const;
  // The frames from one time to another, both included. They keep their times.
  [[nodiscard]] BaMotion cut(double from, double to) const;

  bool operator==(const BaMotion& other) const;

 private:
  friend class Ba_MotionReader;

  // The place of a variable's column, -1 for one that is not held.
  [[nodiscard]] int _column(int sysvar_id) const;
  int _addColumn(int sysvar_id);
  void _setTimes(std::vector<double> times, double rate, double rounding);

  double _rate = kDefaultRate;
  bool _is_even = true;
  std::vector<double> _times;
  std::vector<int> _sysvar_ids;
  BtFlatMap<int, int> _columns;  // places in the vectors of ids and values, by variable id
  std::vector<std::vector<float>> _values;  // by column
  std::vector<BtStr> _comments;
};

std::ostream& operator<<(std::ostream& os, const BaMotion& motion);

// The rate that is meant by a rounded one: 30000/1001 for 29.97, and the like for 23.976, 59.94 and
// 119.88. Other rates stand.
[[nodiscard]] double BaExactFrameRate(double frames_per_second);
// Whether this is, exactly, one of the rates that film, television and capture systems use.
[[nodiscard]] bool BaIsKnownFrameRate(double frames_per_second);

// The time of the frame so many frames, at a rate, behind one at the time `first`.
[[nodiscard]] double BaFrameTime(double first, double rate, std::size_t frame);

// The highest variable that a mapping states or uses: what a motion for it may hold.
[[nodiscard]] int BaHighestSysVarKnown(const BaUnlockedMapping& mapping);
