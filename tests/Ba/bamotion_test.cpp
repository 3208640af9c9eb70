#include "Ba/bamotion.h"

#include "Ba/bamapping.h"
#include "Ba/modeltexts.h"
#include "Bt/piecesbuf.h"
#include "btviewstream.h"
#include "support/errorcases.h"
#include "support/printed.h"
#include "support/testfolder.h"

namespace {

BaMotion ScanMotion(const std::string& text, double rate = 0) {
  std::istringstream is(text);
  BaMotion motion;
  EXPECT_TRUE(motion.scanFrom(is, "motion.csv", {.rate = rate})) << text << TakePrinted();
  return motion;
}

TEST(BaMotion, FilesThatAreNotReadSayWhere) {
  for (const ErrorCase& c : ReadErrorCases("motions.txt")) {
    std::istringstream is(c.text);
    BaMotion motion = ScanMotion("time,1\n0,1\n");
    EXPECT_FALSE(motion.scanFrom(is, "motion.csv", {.highest_sysvar_id = 40})) << c.text;
    EXPECT_EQ(TakePrinted(), PrintedError(c.lines)) << c.text;
    EXPECT_EQ(motion, BaMotion());
  }
}

TEST(BaMotion, TakesTheFormsThatProgramsWrite) {
  const BaMotion want = ScanMotion("time,12,3\n0,1,-2.5\n0.5,0.001,300\n");
  const std::string cases[] = {
      "time,v12,v3\r\n0,1,-2.5\r\n0.5,0.001,300",
      "\xEF\xBB\xBFtime,012,3\n0.0,1.0,-2.5\n0.5,1e-3,3E+2\n\n",
      "\"time\",\"12\",\"v3\"\n\"0\",\"1\",\"-2.5\"\n\".5\",\".001\",\"300.\"\n",
      "\n time ,\t12, 3\n\n+0, 1 , -2.5\n  0.5,\t\"0.001\" ,300  \n",
  };
  for (const std::string& text : cases) EXPECT_EQ(ScanMotion(text), want) << text;
  EXPECT_EQ(ScanMotion("time,1\n0,1e-400\n").values(1)[0], 0);
  EXPECT_EQ(ScanMotion("time\n0\n1\n").numFrames(), 2);
  EXPECT_EQ(ScanMotion("# one\n#two\r\r\ntime,1\n0,1\n").comments(),
            (std::vector<BtStr>{"one", "two"}));
}

TEST(BaMotion, TimesTellTheRate) {
  const struct {
    const char* about;
    std::vector<std::string> times;
    double rate;
    bool is_even;
    double first, last;
  } cases[] = {
      {"thirds", {"0", "0.03333333333333333", "0.06666666666666667"}, 30, true, 0, 2.0 / 30},
      {"rounded to milliseconds", {"0.000", "0.033", "0.067", "0.100"}, 30, true, 0, 3.0 / 30},
      {"with an exponent", {"0", "8.33e-3", "1.667e-2", "2.5e-2"}, 120, true, 0, 3.0 / 120},
      {"NTSC", {"0", "0.033367", "0.066733", "0.1001"}, 30000.0 / 1001, true, 0, 3003.0 / 30000},
      {"a late start", {"5", "5.04", "5.08"}, 25, true, 5, 5.08},
      {"before zero", {"-0.1", "0", "0.1"}, 10, true, -0.1, 0.1},
      {"an odd rate", {"0", "0.3", "0.6", "0.9"}, 10.0 / 3, true, 0, 0.9},
      {"48, rounded", {"0", "0.021", "0.042", "0.062", "0.083", "0.104"}, 48, true, 0, 5.0 / 48},
      {"uneven", {"0", "0.01", "0.02", "0.035"}, 100, false, 0, 0.035},
      {"a gap", {"0", "0.04", "0.08", "0.2"}, 25, false, 0, 0.2},
      {"one frame", {"7"}, 30, true, 7, 7},
  };
  for (const auto& c : cases) {
    std::string text = "time,1\n";
    for (const std::string& time : c.times) text += time + ",1\n";
    const BaMotion motion = ScanMotion(text);
    EXPECT_DOUBLE_EQ(motion.rate(), c.rate) << c.about;
    EXPECT_EQ(motion.isEven(), c.is_even) << c.about;
    EXPECT_DOUBLE_EQ(motion.times().front(), c.first) << c.about;
    EXPECT_DOUBLE_EQ(motion.times().back(), c.last) << c.about;
  }
  // A rate that is given, and frames that are counted.
  EXPECT_EQ(ScanMotion("frame,1\n6,1\n7,1\n").times(), (std::vector<double>{6.0 / 30, 7.0 / 30}));
  EXPECT_EQ(ScanMotion("frame,1\n6,1\n8,1\n", 24).times(),
            (std::vector<double>{6.0 / 24, 8.0 / 24}));
  EXPECT_FALSE(ScanMotion("frame,1\n6,1\n8,1\n").isEven());
  EXPECT_EQ(ScanMotion("time,1\n0,1\n1,1\n", 24).rate(), 24);
  EXPECT_FALSE(ScanMotion("time,1\n0,1\n1,1\n", 24).isEven());
  EXPECT_EQ(BaExactFrameRate(29.97), 30000.0 / 1001);
  EXPECT_EQ(BaExactFrameRate(29.5), 29.5);
}

TEST(BaMotion, RandomMotionsSurviveWriting) {
  std::mt19937 random(16);
  for (const double rate : {23.976, 24.0, 29.97, 30.0, 33.3, 119.88, 240.0, 1000.0}) {
    for (const bool is_even : {true, false}) {
      std::vector<double> times;
      for (std::size_t i = 0; i < 500; ++i) {
        const double jitter = is_even ? 0 : static_cast<double>(random() % 1000) / 2000 / rate;
        times.push_back(BaFrameTime(1.0 / 30, BaExactFrameRate(rate), i) + jitter);
      }
      BaMotion motion;
      motion.setTimes(times, is_even ? BaExactFrameRate(rate) : 0);
      EXPECT_EQ(motion.isEven(), is_even);
      for (const int id : {9, 2000000000, 1}) {
        std::vector<float> values(500);
        for (float& value : values) value = RandomFloat(&random);
        motion.setValues(id, values);
      }
      motion.addComment("variable 9, \"quoted\"");
      EXPECT_EQ(ScanMotion(Print(motion)), motion) << rate;
    }
  }
  const BaMotion hasty = ScanMotion("time,4\n0.022921e-054,1\n241e-054,2\n");
  EXPECT_EQ(ScanMotion(Print(hasty)).times(), hasty.times());
}

// Streams hand out a file in pieces, or character by character; lines may go beyond their buffer.
TEST(BaMotion, StreamsMayComeInPieces) {
  const std::string text = "# c\r\ntime,1,2\r\n0,\"1\",-2.25\n\n0.25,123456.5,0.5\r\n\r\n0.5,3,4";
  const BaMotion want = ScanMotion(text);
  for (std::size_t piece = 0; piece <= text.size(); ++piece) {
    PiecesBuf pieces(text, piece % 7, piece);
    std::istream is(&pieces);
    BaMotion motion;
    ASSERT_TRUE(motion.scanFrom(is, "motion.csv")) << piece << TakePrinted();
    EXPECT_EQ(motion, want) << piece;
  }
  std::istringstream endless("time,1\n" + std::string((std::size_t{16} << 20) + 1, '0'));
  EXPECT_FALSE(BaMotion().scanFrom(endless, "motion.csv"));
  EXPECT_EQ(TakePrinted(),
            PrintedError("motion.csv:2: the line has more than 16777216 characters"));
}

TEST(BaMotion, FilesAreWrittenWholeOrNotAtAll) {
  const TestFolder folder;
  const BaMotion motion = ScanMotion("time,1\n0,1\n0.5,2\n");
  BaMotion read;
  for (const char* name : {"a.csv", "a.csv.gz"}) {
    const std::string path = folder.path(name);
    ASSERT_TRUE(motion.save(path.c_str()) && read.read(path.c_str())) << TakePrinted();
    EXPECT_EQ(read, motion);
  }
  std::string packed = folder.read("a.csv.gz");
  packed.resize(packed.size() - 6);
  EXPECT_FALSE(read.read(folder.write("cut.csv.gz", packed).c_str()));
  EXPECT_NE(TakePrinted().find("Unable to read file '"), std::string::npos);
  EXPECT_EQ(read, BaMotion());
  EXPECT_FALSE(read.read(folder.path("none.csv").c_str()));
  EXPECT_NE(TakePrinted().find("Unable to open file '"), std::string::npos);
  EXPECT_FALSE(motion.save(folder.path("none/a.csv").c_str()));
  EXPECT_NE(TakePrinted().find("Unable to write file '"), std::string::npos);
}

TEST(BaMotion, TransformsHaveTheirValuesInAllFrames) {
  const BaMotion motion = ScanMotion("time,1,3\n0,1,10\n1,2,20\n");
  const struct {
    BaUnlockedTransform transform;
    std::vector<double> values;
  } cases[] = {
      {{1, 3}, {10, 20}}, {{1, 0}, {0, 0}},
      {{4, 2}, {0, 0}},   {{5, 0.5F, {{3, 2.0F}, {1, -1.0F}, {3, 1.0F}, {2, 9.0F}}}, {29.5, 58.5}},
      {{}, {0, 0}},
  };
  for (const auto& [transform, want] : cases) {
    std::vector<double> values;
    motion.getValues(transform, &values);
    EXPECT_EQ(values, want);
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(transform.value(motion.frame(i)), want[static_cast<std::size_t>(i)]);
    }
  }
}

TEST(BaMotion, IsResampledAndCut) {
  const BaMotion motion = ScanMotion("# kept\ntime,1,2\n1,0,8\n1.5,2,4\n2,-2,0\n");
  EXPECT_EQ(Print(motion.resampled(4)),
            "# kept\ntime,v1,v2\n1.00000000000000000,0,8\n1.25,1,6\n1.5,2,4\n1.75,0,2\n2,-2,0\n");
  EXPECT_EQ(Print(motion.resampled(1.25)),
            "# kept\ntime,v1,v2\n1.00000000000000000,0,8\n1.8,-0.4,1.6\n");
  EXPECT_EQ(motion.resampled(2), motion);
  EXPECT_EQ(Print(motion.cut(1.5, 9)), "# kept\ntime,v1,v2\n1.50000000000000000,2,4\n2,-2,0\n");
  EXPECT_EQ(motion.cut(-1, 1.6).numFrames(), 2);
  EXPECT_EQ(motion.cut(3, 4).numFrames(), 0);
  const BaMotion uneven = ScanMotion("time,1\n0,0\n0.9,9\n1,10\n");
  EXPECT_EQ(Print(uneven.resampled(2)), "time,v1\n0.00000000000000000,0\n0.5,5\n1,10\n");
  // A rate that misses the end by less than rounding explains reaches it.
  EXPECT_EQ(ScanMotion("time,1\n0.1,0\n0.4,3\n").resampled(10).values(1).back(), 3);
}

}  // namespace
