// "animate": takes and their names, and what it refuses.
#include <gtest/gtest.h>

#include "main/runprogram.h"
#include "tool/runtool.h"

namespace {

const std::string kMotion = "time,v1,v12\n0,1,20\n0.04,2,400\n0.08,3,50\n";

// The names of the takes in the file, in their order.
std::string TakesOf(const std::string& bytes) {
  std::string takes;
  const std::string mark = std::string("\0\1", 2) + "AnimStack";
  for (std::size_t at = 0; (at = bytes.find(mark, at)) != std::string::npos; ++at) {
    std::size_t start = at;
    while (bytes[start - 1] != '\0') --start;
    takes += (takes.empty() ? "" : " ") + bytes.substr(start, at - start);
  }
  return takes;
}

TEST(Animate, MakesATakeOfEachMotion) {
  const TestFolder folder;
  const std::string walk = folder.write("walk.csv", kMotion);
  const std::string other = folder.write("b/walk.csv", kMotion);
  const std::string dotted = folder.write("walk_2.1.csv", kMotion);
  const struct {
    std::vector<std::string> motions;
    std::string takes;
  } rows[] = {
      {{}, ""},
      {{walk}, "walk"},
      {{walk, other, walk}, "walk walk_2 walk_3"},
      {{dotted, walk}, "walk_2.1 walk"},
  };
  for (const auto& row : rows) {
    for (const char* version : {"2011", "2010"}) {
      std::string bytes[2];
      for (std::string& out : bytes) {
        const ToolResult result =
            RunTool(Joined({{"animate", "--mb-version", version, "-o", folder.path("out.fbx")},
                            {Sample("fox.mdl"), Sample("fox.dof")},
                            row.motions}));
        EXPECT_EQ(result.status, 0) << result.err;
        const bool warned =
            result.err.find("warning: variables that choose textures") != std::string::npos;
        EXPECT_EQ(warned, !row.motions.empty()) << result.err;
        out = folder.read("out.fbx");
      }
      EXPECT_TRUE(bytes[0] == bytes[1]);
      EXPECT_NE(bytes[0].find("bodyId"), std::string::npos);
      if (version == std::string("2011")) {
        EXPECT_EQ(TakesOf(bytes[0]), row.takes);
      }
    }
  }
}

TEST(Animate, LeavesTheOlderFileWhenItRefuses) {
  const TestFolder folder;
  const std::string motion = folder.write("walk.csv", kMotion);
  const std::string bad = folder.write("bad.csv", "time,v1\n0,1\n0.04,x\n");
  const std::string beyond = folder.write("beyond.csv", "time,v65\n0,1\n");
  const std::string huge = folder.write("huge.csv", "time,v1\n0,3e38\n");
  const std::string axes = folder.write(
      "axes.dof", "Zov Graphic Mapping File\nv1.0\n6\n1\n1\n1 2 3 4 4 6\n1\n2\n3\n4\n5\n6\n");
  const std::string none = folder.write(
      "none.dof", "Zov Graphic Mapping File\nv1.0\n6\n1\n99\n1 2 3 4 5 6\n1\n2\n3\n4\n5\n6\n");
  const std::string zero =
      folder.write("zero.mdl", "DATAFILE_VERSION: 2.00\nUNITS {\n  LENGTH: 0 INCHES\n}\nEND:\n");
  const std::string fox = Sample("fox.mdl");
  const std::string dof = Sample("fox.dof");
  const struct {
    std::vector<std::string> arguments;
    std::string text;
  } rows[] = {
      {{fox, dof, motion, "--scale-factor", "0"}, "--scale-factor: the value must be a number"},
      {{fox, dof, motion, "--scale-factor", "1e39"}, "--scale-factor: the value must be a number"},
      {{fox, dof, motion, "--rate", "-5"}, "--rate: the value must be a number"},
      {{fox, dof, motion, "--rate", "nan"}, "--rate: the value must be a number"},
      {{fox, dof, motion, "--mb-version", "1999"}, "unsupported version \"1999\""},
      {{fox, dof, motion, "--angles", "turns"}, "--angles"},
      {{fox, dof, motion, "--lengths", "yards"}, "--lengths"},
      {{folder.path("no.mdl"), dof, motion}, "no.mdl"},
      {{fox, folder.path("no.dof"), motion}, "no.dof"},
      {{fox, dof, motion, folder.path("no.csv")}, "no.csv"},
      {{fox, dof, motion, bad}, "bad.csv:3: variable 1: not a number: 'x'"},
      {{fox, dof, beyond}, "beyond.csv:1: "},
      {{fox, dof, huge}, "\"huge\": a key is not finite"},
      {{fox, axes, motion}, "body 1 does not turn about each axis once"},
      {{fox, none, motion}, "there is no such body in the model"},
      {{fox}, ""},
  };
  const std::string out = folder.write("out.fbx", kOlder);
  for (const auto& row : rows) {
    const ToolResult result = RunTool(Joined({{"animate", "-o", out}, row.arguments}));
    EXPECT_EQ(result.status, 2) << row.text;
    EXPECT_NE(result.err.find(row.text), std::string::npos) << result.err;
    EXPECT_EQ(folder.read("out.fbx"), kOlder);
  }
  // No input may be the output, by whatever name.
  for (const std::string& input : {fox, dof, motion}) {
    const std::string link = folder.path("link");
    std::filesystem::remove(link);
    std::filesystem::create_symlink(input, link);
    const ToolResult result = RunTool({"animate", fox, dof, motion, "-o", link});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("is one of the files that were read"), std::string::npos)
        << result.err;
  }
  EXPECT_EQ(folder.read("walk.csv"), kMotion);
}

}  // namespace
