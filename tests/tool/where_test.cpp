// Messages of readers say where: file, line, column, and who includes the file.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "main/runprogram.h"
#include "tool/runtool.h"
#include "where.h"

namespace {

const std::string kLegacy =
    "Zov Graphic Model File\nv1.30\nX\n root\n 1\n p\n 0\n 1 0 0 0 1 0 0 0 1 0 0 0\n"
    "M 1 skin\n3 1 1 1\n0\n";
const std::string kWhereDocument = "Zov Graphic Model File\nv2.00\n# words\n\n";
const std::string kBody =
    "BODY {   # the root\n\n  # inside\n\tNAME: root\n\tCOORDINATE_SYSTEM { # of "
    "it\n\t\tTRANSLATION: "
    "0 0 0\n\t\tROTATION: 0 0 0 X Y Z\n\t}\n\tPARENT_NAME: GLOBAL\n}\n";
const std::string kMaterial = "MATERIAL {\n  NAME: skin\n}\n";
const std::string kWhereMapping = "Zov Graphic Mapping File\nv1.0\n6\n";
const std::string kMap = "1\n1 2 3 6 5 4\n1 2 3 4 5 6\n";

std::string Geometry(const std::string& lists) {
  return kWhereDocument + kBody + kMaterial +
         "VERTICES {\n NAME: v\n COORDINATES {\n  0 0 0 # a\n  1 0 0\n  1 1 0\n }\n}\n"
         "GEOMETRY {\n BODY: root\n VERTICES: v\n MATERIAL_GROUP {\n  MATERIAL: skin\n" +
         lists + " }\n}\n";
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

// The texts hold an "@" where the message has to point; it is no part of the file.
const struct WhereCase {
  std::string text;
  const char* words;  // of the message
} kWhereCases[] = {
    {kLegacy + "F 1 1 3\n 0 0 0 -1\n 1 0 @x -1\n", "Unable to read x,y and z."},
    {kLegacy + " @F 1 7 3\n 0 0 0 -1\n 1 0 0 -1\n 1 1 0 -1\n", "undefined material id (7)"},
    {kLegacy + "S @P 1 1 4 0 0 0 0 0 -1 0 0 1 0 0 -1\n 0 0 1 0 0 -1 0 0 1 1 0 -1\n",
     "Duplicate vertex removed"},
    {kLegacy + "@Q\n", "Unknown object type 'Q'"},
    {"@Zox\nv1.30\n", "Invalid datafile type."},
    {"Zov Graphic Model File\nv3.00@\n", "Unsupported datafile version"},
    {kWhereDocument + kBody + "@NOBODY: 1\n", "Unrecognized key word \"NOBODY\""},
    {kWhereDocument + kBody + "@LOST\n" + kMaterial, "No ':' or '{' following tag 'LOST'"},
    {kWhereDocument + kBody + "@" + kBody, "Multiple bodies have name"},
    {kWhereDocument + Replaced(kBody, "TRANSLATION: 0", "@TRANSLATION: x"), "floating point"},
    {Replaced(kWhereDocument + kBody, "# words", "\r# old\r\n# words\r") + "\t@COMMENTS: a\n",
     "Unrecognized key word"},
    {kWhereDocument + kBody +
         "MATERIAL {\n NAME: a\n TEXTURE {\n  NAME: \xC3\xA4\n  S_ATTRIBUTES: a\\\n   b # }\n  "
         "@HUE: 1\n }\n}\n",
     "key word \"HUE\""},
    {Replaced(Geometry(""), "  1 1 0", "  1 @x 0"), "Error reading Y coordinate."},
    {Geometry("  POLYGONS {\n   1 2 3 # c\n\n   @2 2 2\n  }\n"), "Degenerate polygon removed."},
    {Geometry("  POLYGONS {\n   1 2 3 # c\n   1 2 @x\n  }\n"), "Unable to read vertex index."},
    {Geometry("  @POLYGON {\n   1 2 3\n  }\n"), "Unrecognized key word \"POLYGON\""},
    {kWhereMapping + "1\n" + Replaced(kMap, "5 4", "5 @x"), "Unable to read"},
    {kWhereMapping + "2\n" + kMap + " @" + kMap, "is specified multiple times."},
    {kWhereMapping + "1\n" + kMap + "MATERIAL_TEXTURE_INDEX_MAPS { # c\n 1 2\n  3 4 @x 5\n}\n",
     "'x'"},
    {kWhereMapping + "1\n" + kMap +
         "BLEND_EFFECT_MAP {\n SLIDER_GROUP: g\n SLIDERS {\n  a 3\n  @b x\n }\n}\n",
     "Unable to read sysvar id"},
    {kWhereMapping + "1\n" + kMap + "\n@INCLUDES {\n FILE_NAME: a\n}\n", "Invalid tag 'INCLUDES'"},
};

// Where the mark of a text is, as "LINE:COLUMN"; removes it.
std::string TakeMark(std::string* text) {
  const std::size_t mark = text->find('@');
  text->erase(mark, 1);
  int line = 1;
  int column = 1;
  for (std::size_t i = 0; i < mark; ++i) {
    const char c = (*text)[i];
    if (c == '\n' || (c == '\r' && (*text)[i + 1] != '\n')) {
      ++line;
      column = 1;
    } else if (c != '\r' && (static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++column;
    }
  }
  return std::to_string(line) + ":" + std::to_string(column);
}

// How a message begins that has a place.
std::string Located(const std::string& file, const std::string& mark) {
  std::string text = file;
  return text.append(":").append(mark).append(": ");
}

TEST(Where, MessagesOfReadersPointAtTheFault) {
  const TestFolder folder;
  for (const WhereCase& row : kWhereCases) {
    std::string text = row.text;
    const std::string mark = TakeMark(&text);
    const std::string file = folder.write("text", text);
    const std::string err = RunTool({"info", file}).err;
    const std::string start = Located(file, mark);
    std::istringstream lines(err);
    bool found = false;
    for (std::string line; std::getline(lines, line);) {
      found = found || (line.starts_with(start) && line.find(row.words) != std::string::npos);
    }
    EXPECT_TRUE(found) << mark << " " << row.words << "\n" << err;
  }
}

TEST(Where, IncludedFilesAreNamedWithThoseThatIncludeThem) {
  const TestFolder folder;
  const std::string model_include = kWhereDocument + "INCLUDE {\nFILE_NAME: ";
  const std::string map_include = kWhereMapping + "1\n" + kMap + "INCLUDE {\nFILE_NAME: ";
  for (const auto& [include, text] :
       {std::pair{model_include, kWhereDocument + Replaced(kBody, "PARENT", "@PARANT")},
        std::pair{map_include, kWhereMapping + "1\n" + Replaced(kMap, "5 4", "5 @x")}}) {
    std::string faulty = text;
    const std::string mark = TakeMark(&faulty);
    const std::string last = folder.write("last", faulty);
    const std::string middle = folder.write("middle", include + last + "\n}\n");
    const std::string first = folder.write("first", include + middle + "\n}\n");
    const auto where =
        nlohmann::json::parse(RunTool({"info", "--json", first}).out)["files"][0]["where"];
    EXPECT_EQ(where["file"], last);
    EXPECT_EQ(where["line"].dump().append(":").append(where["column"].dump()), mark);
    EXPECT_EQ(where["included_by"], nlohmann::json({middle, first}));
    const std::string err = RunTool({"info", first}).err;
    EXPECT_NE(err.find(Located(last, mark).append("error: ")), std::string::npos) << err;
    EXPECT_NE(err.find(std::string(" (included by ").append(middle).append(", by ").append(first) +
                       ")\n"),
              std::string::npos);
  }
}

TEST(Where, PipesHaveLines) {
  std::signal(SIGXFSZ, SIG_IGN);
  const std::string text = kLegacy + "Q\n";
  for (const bool is_kept : {true, false}) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(ends[1]);
    const std::string file = "/dev/fd/" + std::to_string(ends[0]);
    const rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    const rlimit limit = {is_kept ? RLIM_INFINITY : 20, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const ToolResult result = RunTool({"check", file});
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    const std::string start =
        is_kept ? Located(file, "12:1") : file + ": error: file-unopened: model: ";
    EXPECT_TRUE(result.out.starts_with(start)) << result.out << result.err;
    EXPECT_EQ(result.err.find("cannot be kept") == std::string::npos, is_kept) << result.err;
    close(ends[0]);
  }
}

// The mark of a text is where the finding has to point; behind a second one begins the mapping.
TEST(Where, FindingsHaveIt) {
  std::string polygons;
  for (int i = 0; i < 30; ++i) polygons += "   1 2 3\n";
  const std::string effects =
      " EFFECTS {\n  FLEX {\n   @BODY: leg\n   WEIGHTS {\n    0.5 1\n   }\n  }\n }\n}\n";
  const struct {
    const char* code;
    std::string text;
    const char* body = "";
  } rows[] = {
      {"vertex-duplicate", kLegacy + "@F 1 1 3 0 0 0 -1 0 0 0 -1 1 0 0 -1\n"},
      {"material-unused", Replaced(kLegacy, "M 1", "@M 1")},
      {"scaled-transform", Replaced(Replaced(kLegacy, "1 0 0", "1.5 0 0"), "X", "@X"), "root"},
      {"parent-missing", Replaced(Replaced(kLegacy, "p\n 0", "p\n 7"), "X", "@X"), "root"},
      {"weight-above-one", kLegacy + "T 1 1 3\n 0 0 0 0 -1\n 0 1 0 0 -1\n 0 @0 1 0 2 1.5 -1\n",
       "root"},
      {"flex-target-undefined",
       Replaced(Geometry(""), "  1 1 0\n }\n}\n", "  1 1 0\n }\n" + effects), "root"},
      {"rotation-axes", kLegacy + kWhereMapping + "1\n" + Replaced(kMap, "1 2 3 6", "@1 2 3 5"),
       "root"},
      {"slider-unknown",
       kLegacy + kWhereMapping + "1\n" + kMap +
           "BLEND_EFFECT_MAP {\n SLIDER_GROUP: g\n SLIDERS {\n  @smile 1\n }\n}\n"},
      {"variable-count", kLegacy + Replaced(kWhereMapping, "6\n", "@9\n") + "1\n" + kMap},
      {"model-unreadable", Geometry("  POLYGONS {\n   1 2 @7\n  }\n")},
      {"model-unreadable", Replaced(Geometry(""), "GEOMETRY {\n ", "GEOMETRY {\n @BODY: toor\n# ")},
      {"vertex-duplicate",
       Replaced(Geometry("  POLYGONS {\n   @1 2 3\n  }\n"), "  1 0 0\n", "  0 0 0\n")},
      {"vertex-duplicate",
       Geometry("  POLYGONS {\n" + polygons + "   @1 2 2 3\n" + polygons + "  }\n")},
      {"model-unreadable",
       Geometry("  POLYGONS {\n" + polygons + "   1 @/2 3\n" + polygons + "  }\n")},
      {"model-unreadable", Replaced(kWhereDocument + kBody, "\t}\n", "") + "@" + kMaterial},
      {"model-unreadable", kWhereDocument + "INCLUDE {\n @FILE_NAME: none.mdl\n}\n"},
      {"include-backslash", kWhereDocument + "INCLUDE {\n @FILE_NAME: a\\b.mdl\n}\n"},
      {"body-mapped-twice", kLegacy + kWhereMapping + "2\n" + kMap + "@" + kMap},
  };
  const TestFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.code);
    std::string text = row.text;
    const std::size_t mapping = text.find("Zov Graphic Mapping");
    std::string second = mapping == std::string::npos ? "" : text.substr(mapping);
    text.resize(std::min(mapping, text.size()));
    std::string* const marked = text.find('@') == std::string::npos ? &second : &text;
    const std::string mark = TakeMark(marked);
    std::vector<std::string> words = {"check", "--json", folder.write("text.mdl", text)};
    if (!second.empty()) words.push_back(folder.write("text.dof", second));
    const auto answer = nlohmann::json::parse(RunTool(words).out);
    std::string found;
    for (const auto& finding : answer["findings"]) {
      if (finding["code"] != row.code) continue;
      EXPECT_EQ(finding["file"], words[marked == &second ? 3 : 2]);
      found = finding["line"].dump().append(":").append(finding["column"].dump());
      const bool is_named = *row.body == '\0' || finding["body"] == row.body;
      EXPECT_TRUE(is_named);
    }
    EXPECT_EQ(found, mark) << answer;
  }
}

// Of what was not meant to be read the first bytes tell.
TEST(Where, OtherFilesAreToldInWords) {
  const struct {
    const char* code;
    std::string text;
    const char* words;
  } rows[] = {
      {"file-kind", kWhereMapping + "0\n", "is a mapping; the model comes first"},
      {"file-kind", "\x89PNG\r\n\x1A\n", "picture (PNG)"},
      {"file-kind", "Kaydara FBX Binary", "an FBX file"},
      {"file-kind", "PK\3\4", "archive (ZIP)"},
      {"file-encoding", "\xEF\xBB\xBF" + kLegacy, "byte order mark"},
      {"file-encoding", "\xFF\xFEZ", "UTF-16"},
      {"file-encoding", "Zov Graphic Model File\rv1.30\rX\r", "carriage returns only"},
      {"file-header", "Zov graphic model file \nv1.30\n", "must be 'Zov Graphic Model File'"},
      {"file-empty", "", "is empty"},
      {"file-kind", "\n<html>", "a web page"},
      {"model-unreadable", "\n" + kLegacy, "The first line must be 'Zov"},
      {"model-unreadable", kLegacy + kLegacy, "Two files seem to be joined"},
      {"model-unreadable", kLegacy + "F 1 1 3 0 0", "The file ends here"},
      {"model-unreadable", kLegacy + "F 1 1 1\n 0 0 1e39 -1\n", "It stopped at '1e39'"},
      {"model-unreadable", kLegacy + "F 1 1 2\n 0 0 0 -1\nF 1", "number of vertices in the first"},
      {"model-unreadable", Replaced(kLegacy, "v1.30", "v2.00"), "looks like a legacy model"},
      {"parent-missing", Replaced(kWhereDocument + kBody, "GLOBAL", "root"), "its own parent"},
      {"body-name-clash", kLegacy + "X\n root\n 2\n p\n 0\n 1 0 0 0 1 0 0 0 1 0 0 0\n",
       "The first is at"},
      {"decimal-comma", Replaced(kLegacy, "1 0 0", "1,0 0 0"), "decimal comma in this line"},
  };
  const TestFolder folder;
  for (const auto& row : rows) {
    const ToolResult result = RunTool({"check", folder.write("other.mdl", row.text)});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find(row.code), std::string::npos) << row.words << result.out;
    EXPECT_NE(result.out.find(row.words), std::string::npos) << row.words << result.out;
  }
}

TEST(Where, TheCaretStandsUnderTheColumn) {
  const auto caret = [](const std::string& text, int column) {
    return CaretText({"f", 1, column, text, {}});
  };
  EXPECT_EQ(caret("\t\xC3\xA4 x", 4), "   \xC3\xA4 x\n     ^\n");
  EXPECT_EQ(caret("x", 2), "  x\n   ^\n");
  EXPECT_EQ(caret(std::string(500, 'a') + "x" + std::string(500, 'b'), 501),
            "  " + std::string(60, 'a') + "x" + std::string(39, 'b') + "\n  " +
                std::string(60, ' ') + "^\n");
  EXPECT_EQ(CaretText({}), "");
}

}  // namespace
