// "deps" lists what a conversion reads, as build programs need it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "main/runprogram.h"
#include "tool/runtool.h"

namespace {

std::string DepsDocument(const std::string& body, const std::string& texture,
                         const std::string& more) {
  return "Zov Graphic Model File\nv2.00\nBODY {\nNAME: " + body +
         "\nID: 1\nCOORDINATE_SYSTEM {\nTRANSLATION: 0 0 0\nROTATION: 0 0 0 X Y Z\n}\nPARENT_NAME: "
         "GLOBAL\n}\nMATERIAL {\nNAME: m" +
         body + "\nTEXTURE {\nTYPE: 2D_DECAL\nNAME: " + texture +
         "\n}\n}\nMATERIAL {\nNAME: unused" + body +
         "\nTEXTURE {\nTYPE: 2D_DECAL\nNAME: unused.png\n}\n}\nVERTICES {\nNAME: v" + body +
         "\nCOORDINATES {\n0 0 0\n1 0 0\n1 1 0\n}\n}\nGEOMETRY {\nBODY: " + body + "\nVERTICES: v" +
         body + "\nMATERIAL_GROUP {\nMATERIAL: m" + body + "\nPOLYGONS {\n1 2 3\n}\n}\n}\n" + more;
}

std::string DepsInclude(const std::string& file) {
  return "INCLUDE {\nFILE_NAME: " + file + "\nBODY_ID_OFFSET: 9\n}\n";
}

const std::string kDepsMapping =
    "Zov Graphic Mapping File\nv1.0\n6\n1\n1\n1 2 3 6 5 4\n1 2 3 4 5 6\n";

// A character whose parts lie in several folders, all under names that want escaping.
class Deps : public testing::Test {
 protected:
  [[nodiscard]] std::string in(const std::string& name) const { return _folder.path(name); }
  const TestFolder _folder;
  const std::string _model =
      _folder.write("#a model.mdl", DepsDocument("a", "a.png", DepsInclude("part 1/b.mdl")));
  const std::string _part =
      _folder.write("part 1/b.mdl", DepsDocument("b", "..\\C$d.png", DepsInclude("c.mdl")));
  const std::string _last = _folder.write("part 1/c.mdl", DepsDocument("c", "none.png", ""));
  const std::string _map =
      _folder.write("m.dof", kDepsMapping + "INCLUDE {\nFILE_NAME: n.dof\nBODY_ID_OFFSET: 9\n}\n");
  const std::string _sub_map = _folder.write("n.dof", kDepsMapping);
  const std::string _pictures[2] = {_folder.write("a.png", ""), _folder.write("C$d.png", "")};
};

TEST_F(Deps, ListsWhatAConversionReads) {
  const ToolResult result = RunTool({"deps", _model, _map});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, _model + "\n" + _part + "\n" + _last + "\n" + in("a.png") + "\n" +
                            in("C$d.png") + "\n" + _map + "\n" + _sub_map + "\n");
  EXPECT_NE(result.err.find("warning: the picture 'part 1/none.png' is not there"),
            std::string::npos)
      << result.err;
  const auto answer = nlohmann::json::parse(RunTool({"deps", "--json", _model, _map}).out);
  EXPECT_EQ(answer["files"].size(), 7U);
  EXPECT_EQ(answer["missing"], nlohmann::json({"part 1/none.png"}));
}

TEST_F(Deps, ListsWhatWasReadUpToAnError) {
  _folder.write("part 1/c.mdl", "Zov Graphic Model File\nv2.00\nBODY {\n");
  _folder.write("n.dof", "no mapping");
  const ToolResult result = RunTool({"deps", _model, _map});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out,
            _model + "\n" + _part + "\n" + _last + "\n" + _map + "\n" + _sub_map + "\n");
  EXPECT_NE(result.err.find(_last + ":"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find(_sub_map + ":"), std::string::npos) << result.err;
  EXPECT_EQ(RunTool({"deps", in("none.mdl")}).out, "");
}

// Read by the program that builds this test: every name has to come back whole.
TEST_F(Deps, DepfilesAreReadByNinja) {
  const std::string target = "out $#:x\\ y.fbx";
  const ToolResult result = RunTool({"deps", "--depfile", target, _model, _map});
  EXPECT_EQ(result.status, 0) << result.err;
  _folder.write("depfile", result.out);
  _folder.write("build.ninja",
                "rule deps\n command = cp depfile used\n depfile = used\n deps = gcc\n"
                "build out$ $$#$:x\\$ y.fbx: deps\n");
  const std::string ninja = "ninja -C '" + in("") + "' ";
  ASSERT_EQ(std::system((ninja + ">/dev/null").c_str()), 0);  // NOLINT(cert-env33-c)
  ASSERT_EQ(std::system((ninja + "-t deps >'" + in("known") + "'").c_str()), 0);  // NOLINT
  const std::string known = _folder.read("known");
  for (const std::string& file : {_model, _part, _last, in("C$d.png"), _map, _sub_map}) {
    EXPECT_NE(known.find("    " + file + "\n"), std::string::npos) << file << "\n" << known;
  }
  EXPECT_EQ(RunTool({"deps", "--depfile", "a\nb", _model}).status, 2);
  EXPECT_EQ(RunTool({"deps", "--depfile", "a", "--json", _model}).status, 2);
}

}  // namespace
