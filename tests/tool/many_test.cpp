// Commands on folders and tables.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "main/runprogram.h"

namespace {

// The processes that a run has started, once there are so many.
std::vector<pid_t> ChildrenOf(const StartedKestrix& tool, std::size_t count) {
  const std::string process = std::to_string(tool.pid());
  const std::string name = "/proc/" + process + "/task/" + process + "/children";
  std::vector<pid_t> found;
  while (found.size() < count) {
    std::ifstream is(name);
    found.assign(std::istream_iterator<pid_t>(is), {});
  }
  return found;
}

class Many : public testing::Test {
 protected:
  Many() {
    for (const char* name : {"fox", "robot", "walker"}) {
      const std::string sample = Sample(name);
      _folder.write("in/" + std::string(name) + ".mdl", ReadFile(sample + "-v2.mdl"));
      _folder.write("in/" + std::string(name) + ".dof", ReadFile(sample + ".dof"));
    }
    _folder.write("in/below/bad.mdl", "Zov Graphic Model File\nv2.00\nBODY {\n");
  }
  // The program itself, as the runs of a folder are runs of it.
  [[nodiscard]] StartedKestrix start(const std::vector<std::string>& arguments) const {
    return StartedKestrix(arguments, _folder.path(), KESTRIX_TOOL);
  }
  [[nodiscard]] RunResult run(const std::vector<std::string>& arguments) const {
    return start(arguments).wait();
  }
  const TestFolder _folder;
};

TEST_F(Many, AnswersComeInTheOrderOfTheFolder) {
  const RunResult one = run({"check", "in", "--jobs", "1"});
  EXPECT_EQ(one.status, 1) << one.err;
  EXPECT_EQ(run({"check", "in", "--jobs", "4"}).out, one.out);
  EXPECT_NE(one.out.find("\n4 characters: 3 good, 1 with errors\n1 model without a mapping"),
            std::string::npos)
      << one.out;
  EXPECT_LT(one.out.find("\n  below/bad "), one.out.find("\n  fox "));
  EXPECT_EQ(run({"check", "in", "--quiet"}).out.find("fox"), std::string::npos);
  EXPECT_NE(run({"check", "in", "--verbose"}).out.find("body-unmapped"), std::string::npos);
  EXPECT_NE(run({"info", "in"}).out.find("fox        good     24 bodies, 576 polygons"),
            std::string::npos);
  const auto answer =
      nlohmann::json::parse(run({"check", "in", "--json", "--ignore", "id-gap"}).out);
  EXPECT_EQ(answer["runs"][1]["answer"]["mapping"], "in/fox.dof");
  EXPECT_EQ(answer["runs"][0]["status"], 1);
}

TEST_F(Many, ATerminalShowsColoursAndCarets) {
  const std::string command = "cd '" + _folder.path() +
                              "' && unset NO_COLOR && script -qc \"'" KESTRIX_TOOL
                              "' check in\" out </dev/null >/dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c)
  const std::string out = _folder.read("out");
  for (const char* words : {":3:1: \x1B[31merror\x1B[0m: model-unreadable",
                            "\r\n  BODY {\r\n  ^\r\n", "  \x1B[31mbelow/bad  errors  1 error,"}) {
    EXPECT_NE(out.find(words), std::string::npos) << words << "\n" << out;
  }
}

TEST_F(Many, TablesNameCharactersAndTheirScale) {
  _folder.write(
      "in/delivery.csv",
      "\xEF\xBB\xBFoutput, model ,dof,options\r\n\"a, \"\"b\"\".fbx\",fox.mdl,fox.dof,\r\n"
      ",,,\r\n,robot.mdl,robot.dof,-scale_factor 1e4\r\n,walker.mdl,,\r\n");
  const auto answer = nlohmann::json::parse(run({"check", "in/delivery.csv", "--json"}).out);
  std::vector<std::string> told;
  for (const auto& each : answer["runs"]) {
    bool is_large = false;
    for (const auto& finding : each["answer"]["findings"]) {
      is_large = is_large || finding["code"] == "size-odd";
    }
    told.push_back(each["name"].get<std::string>() + (is_large ? " large " : " ") +
                   each["answer"]["mapping"].dump());
  }
  EXPECT_EQ(told, (std::vector<std::string>{"a, \"b\" \"in/fox.dof\"",
                                            "robot large \"in/robot.dof\"", "walker null"}));
  const struct {
    const char *text, *words;
  } rows[] = {
      {"modell\n", "delivery.csv:1: There is no column 'modell'"},
      {"model;dof\n", "delivery.csv:1: Expecting commas"},
      {"dof\na\n", "delivery.csv:1: The column 'model' is missing"},
      {"model,dof\nfox.mdl\n,fox.dof\n", "delivery.csv:3: Expecting a model"},
      {"model\na,b\n", "delivery.csv:2: There are more values than columns"},
      {"model\n\"a\n\n", "delivery.csv:2: A quote is opened"},
      {"model\ndelivery.csv\n", "delivery.csv:2: The model is a folder or a table"},
      {"model\na.mdl\nb/a.mdl\n", "delivery.csv:3: The output 'a.fbx' is that of line 2"},
      {"model,output\na.mdl,../a.fbx\n", "delivery.csv:2: The output '../a.fbx' must be"},
      {"model,options\na,-scale_facto 1\n", "2: In the options: Unexpected option \"-scale_f"},
      {"model,options\na,-mb_version 1\n", "2: In the options: There is no release '1'"},
      {"model,options\na,-mesh_per_body x\n", "2: In the options: Unexpected parameter 'x'"},
      {"model\n", "There are no models in"}};
  for (const auto& row : rows) {
    _folder.write("in/delivery.csv", row.text);
    const RunResult result = run({"list", "in/delivery.csv"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find(row.words), std::string::npos) << result.err;
  }
}

TEST_F(Many, ListTellsWhatIsConverted) {
  _folder.write("in/t.csv", "model,options\nfox.mdl,-mesh_per_body -scale_factor 0.1\n");
  const auto answer = nlohmann::json::parse(run({"list", "in/t.csv", "--json"}).out);
  EXPECT_EQ(answer["characters"][0], nlohmann::json::parse(R"({
    "name": "fox", "model": "in/fox.mdl", "mapping": null, "scale_factor": 0.1,
    "options": ["-mesh_per_body", "-scale_factor", "0.1"], "mesh_per_body": true})"));
  EXPECT_NE(run({"info", "in/t.csv", "--verbose"}).out.find("converted 0.991552 "),
            std::string::npos);
  _folder.write("in/FOX.MDL", "");
  _folder.write("in/FOX.DOF.gz", "");
  _folder.write("in/t.dof", "");
  const std::string out = run({"list", "in"}).out;
  EXPECT_NE(out.find("  FOX        in/FOX.MDL        in/FOX.DOF.gz\n"), std::string::npos) << out;
  EXPECT_NE(out.find("5 characters\n1 model without a mapping, which is not converted: "
                     "in/below/bad.mdl\n1 mapping without a model: in/t.dof\n"),
            std::string::npos)
      << out;
  _folder.write("in/fox.mdl.gz", "");
  EXPECT_NE(run({"diff", "in", "in"}).err.find("'in/fox.mdl.gz' have one name"), std::string::npos);
}

TEST_F(Many, DiffComparesFilesOfOneName) {
  std::filesystem::copy(_folder.path("in"), _folder.path("other"),
                        std::filesystem::copy_options::recursive);
  std::filesystem::remove(_folder.path("other/fox.dof"));
  std::filesystem::remove(_folder.path("in/below/bad.mdl"));
  _folder.write("other/robot.dof", ReadFile(Sample("fox.dof")));
  const RunResult result = run({"diff", "in", "other"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.out.find("fox.dof        differs  only in 'in'\n"), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("below/bad.mdl  differs  only in 'other'\n"), std::string::npos);
  EXPECT_NE(result.out.find("7 files: 4 same, 3 different\n"), std::string::npos);
  EXPECT_EQ(run({"diff", "in", "in/fox.mdl"}).status, 2);
  EXPECT_EQ(run({"info", "in", "--jobs", "0.5"}).status, 2);
}

// Models that are pipes keep their readers waiting.
TEST_F(Many, ACrashIsToldAndTheOthersFinish) {
  ASSERT_EQ(mkfifo(_folder.path("in/a.mdl").c_str(), 0600), 0);
  StartedKestrix tool = start({"check", "in", "--jobs", "1"});
  kill(ChildrenOf(tool, 1)[0], SIGKILL);
  const RunResult result = tool.wait();
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.out.find("\n  a          crashed (signal 9)"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("5 characters: 3 good, 1 with errors, 1 crashed\n"), std::string::npos);
}

TEST_F(Many, NothingOutlivesAnInterruptedRun) {
  for (const char* name : {"a", "b"}) {
    ASSERT_EQ(mkfifo(_folder.path("in/" + std::string(name) + ".mdl").c_str(), 0600), 0);
  }
  StartedKestrix tool = start({"check", "in", "--jobs", "2"});
  const std::vector<pid_t> children = ChildrenOf(tool, 2);
  tool.interrupt();
  EXPECT_EQ(tool.wait().status, 128 + SIGINT);
  for (const pid_t child : children) {
    while (kill(child, 0) == 0) std::this_thread::yield();  // ended by the system, soon
  }
}

}  // namespace
