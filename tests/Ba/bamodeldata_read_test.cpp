#include <gtest/gtest.h>

#include "Ba/modeltexts.h"
#include "btparse.h"
#include "btviewstream.h"

namespace {

// A body with a shape of these lists.
std::string Group(const std::string& lists) {
  return kDocumentBody + "MATERIAL {\nNAME: m\n}\n" + DocumentShape("a", "m", "", lists);
}

// What the writer writes, in all of its parts, below the header lines.
std::string EverySection() { return ModelText("every-section.mdl").substr(kDocumentHeader.size()); }

TEST(BaModelDataRead, Header) {
  const struct {
    const char* text;
    std::string messages;
  } cases[] = {
      {"Zov Graphic Model File\nv2", ""},
      {"Zov Graphic Model File\r\nv2.0\r\n", ""},
      {"Zov Graphic Model File\n v 2.00\n", ""},
      {"", "E Unable to read from file.\n"},
      {"Zov Graphic Model File\nv2.01\n",
       "E Unsupported datafile version 2.01. Application supports version 2.00.\n"},
      {"Zov Graphic Model File\nv1.99\n",
       "E Unsupported datafile version 1.99. Application supports version 2.00.\n"},
      {"Zov Graphic Model File\nv-2\n",
       "E Unsupported datafile version -2.00. Application supports version 2.00.\n"},
  };
  for (const auto& c : cases) {
    std::istringstream is(c.text);
    float number = 0;
    EXPECT_EQ(BaModelData::scanHeader(is, &number), c.messages.empty()) << c.text;
    EXPECT_EQ(TakeMessages(), c.messages) << c.text;
    EXPECT_EQ(number, c.messages.empty() ? 2.0F : 0.0F);
  }
}

// `text` as other people may write it: comments, tabs, carriage returns, empty lines.
std::string Untidy(const std::string& text) {
  std::string untidy;
  std::istringstream is(text);
  for (std::string line; std::getline(is, line);) {
    const bool is_joined = line == "c" || line.ends_with('\\');
    const char* note = line.find(':') == line.npos ? "  # {note}" : "";
    if (!is_joined) untidy += "\t ";
    untidy += line;
    if (!is_joined) untidy.append(note).append("\r\n \n# between }");
    untidy += '\n';
  }
  return untidy;
}

TEST(BaModelDataRead, WrittenDocumentsComeBack) {
  const std::string sections = EverySection();
  for (const std::string& text : {sections, Untidy(sections), sections + "END:\nrubbish"}) {
    EXPECT_EQ(Print(Document(text)), kDocumentHeader + sections);
  }
}

TEST(BaModelDataRead, ExternalSectionsAreNotWritten) {
  const Document data("BODIES: EXTERNAL\nMATERIALS: EXTERNAL\nCOMMENT {\nx {\n}\n}\n" +
                      kDocumentBody +
                      "GEOMETRY {\nBODY: a\nMATERIAL_GROUP {\nMATERIAL: elsewhere\n}\n}\n");
  EXPECT_EQ(Print(data), kDocumentHeader +
                             "BODIES: EXTERNAL\nMATERIALS: EXTERNAL\nUNITS {\n  LENGTH: 1 INCHES\n"
                             "  ANGLE: 1 RADIANS\n}\nGEOMETRY {\n  BODY: a\n  MATERIAL_GROUP {\n"
                             "    MATERIAL: elsewhere\n  }\n}\n");
}

TEST(BaModelDataRead, RefusesBadFiles) {
  for (const ErrorCase& c : DocumentErrors()) {
    SCOPED_TRACE(c.text);
    BaModel model;
    EXPECT_EQ(ScanInto(&model, c.text), PrintedError(c.lines));
    EXPECT_TRUE(model.bodies().empty() && model.materials().empty());
  }
}

TEST(BaModelDataRead, AcceptsWhatIsNearlyRefused) {
  for (const ErrorCase& c : ReadErrorCases("odd-documents.txt")) {
    SCOPED_TRACE(c.text);
    BaModelData data;
    EXPECT_TRUE(Scan(c.text, &data));
    EXPECT_EQ(TakePrinted(), PrintedLines(c.lines));
  }
}

TEST(BaModelDataRead, RepeatedVerticesAreLeftOut) {
#define DUPLICATE "W Duplicate vertex in polygon removed.\n"
#define DEGENERATE "W Degenerate polygon removed.\n"
  const struct {
    const char* block;
    const char* kept;
    const char* messages;
  } cases[] = {
      {"POLYGONS {\n1 2 2 3\n}\n", "      1 2 3\n", DUPLICATE},
      {"POLYGONS {\n1 2 3 1\n}\n", "      1 2 3\n", DUPLICATE},
      {"POLYGONS {\n1 2 3 1 1\n\n2 3 4\n}\n", "      1 2 3\n      2 3 4\n", DUPLICATE DUPLICATE},
      {"POLYGONS {\n1 2 2\n}\n", "", DEGENERATE DUPLICATE},
      {"POLYGONS {\n1 2 1\n}\n", "", DEGENERATE DUPLICATE},
      {"POLYGONS {\n1 2\n \n3\n}\n", "", DEGENERATE DEGENERATE},
      {"POLYGONS {\n1 2 1 3\n}\n", "      1 2 1 3\n", ""},
      {"TEXTURED_POLYGONS {\n1/1 2 : 2 2x1 3/1\n}\n", "      1/1 2/2 3/1\n",
       "W Duplicate vertex in textured polygon removed.\n"},
      {"TRIANGLE_STRIPS {\n1 1 2 3 1\n}\n", "      1 2 3 1\n", DUPLICATE},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.block);
    BaModelData data;
    EXPECT_TRUE(Scan(Group(c.block), &data));
    EXPECT_EQ(TakeMessages(), c.messages);
    const std::string printed = Print(*data.geometries()[0]->materialGroups()[0]);
    const std::size_t lists = printed.find(" {\n", 20);
    const std::string kept =
        lists == printed.npos ? "" : printed.substr(lists + 3, printed.rfind("    }") - lists - 3);
    EXPECT_EQ(kept, c.kept);
  }
}

// Items of a nested block are cut out of the text around them; read through a stream they are the
// same, errors included. Shader blocks are passed over, so what follows tells where they ended.
TEST(BaModelDataRead, NestedItemsAreThoseOfAStream) {
  std::istringstream list(
      "NAME: v\n~ALPHA: 3\n~VERTEX_SHADER {\n~}\n~}\n~{~}~VERTEX_SHADER { # }\n~\\\n~\\~ # c }\n~\n"
      "~VERTEX_SHADER: a\\\n~}}\n~ ~x { # {\n~:~{ y\n");
  std::vector<std::string> pieces;
  for (std::string piece; std::getline(list, piece, '~');) pieces.push_back(piece);
  std::mt19937 random(3);
  int compared = 0;
  int read_well = 0;
  testing::internal::CaptureStderr();
  for (int round = 0; round < 20000; ++round) {
    std::string text = "VERTEX_SHADER {\n";
    for (std::size_t n = random() % 8; n > 0; --n) text += pieces[random() % pieces.size()];
    BtStr key;
    BtStr value;
    std::istringstream is("X {\n" + text + "}\nALPHA: 1\nNAME: m\n}\n");
    const bool is_block = BtReadTaggedValue(is, &key, &value, nullptr) && key == "X" &&
                          is.peek() == std::char_traits<char>::eof();
    theExceptObj.clear();
    if (!is_block) continue;
    ++compared;
    BaMDMaterial material;
    std::istringstream block(std::string(value.view()));
    const bool read = material.scanFrom(block);
    const std::string messages = TakeMessages();
    BaModelData data;
    EXPECT_EQ(Scan("MATERIAL {\n" + std::string(value.view()) + "\n}\n", &data), read) << text;
    std::string data_messages = TakeMessages();
    if (!read) data_messages.erase(0, data_messages.find('\n') + 1);
    EXPECT_EQ(data_messages, messages) << text;
    if (!read || data.materials().empty()) continue;
    ++read_well;
    EXPECT_EQ(Print(*data.materials()[0]), Print(material)) << text;
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(compared, 500);
  EXPECT_GT(read_well, 100);
}

// A document that ends too early is a whole one, or tells what is missing, and is then nothing.
TEST(BaModelDataRead, CutFiles) {
  const std::string text = ModelText("every-section.mdl");
  int whole = 0;
  testing::internal::CaptureStderr();
  for (std::size_t length = 0; length <= text.size(); ++length) {
    BaModel model;
    const bool failed = !ScanInto(&model, text.substr(0, length)).empty();
    EXPECT_EQ(model.bodies().empty(), failed) << length;
    if (failed) continue;
    ++whole;
    const FilledDocument document(model);
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(whole, 5);
}

TEST(BaModelDataRead, HostileTextsEndInErrors) {
  const auto repeat = [](const std::string& piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
  };
  const struct {
    std::string text;
    const char* message;
  } cases[] = {
      {"VERTICES {\n" + repeat("{\n", 1000000), "Hit end of file without reading '}'"},
      {"GEOMETRY {\n" + repeat("MATERIAL_GROUP {\n", 300000) + repeat("}\n", 300001),
       "Unrecognized key word \"MATERIAL_GROUP\"."},
      {"VERTICES {\nEFFECTS {\n" + repeat("FLEX {\nBODY: a\\b\nWEIGHTS {\n1 1\n}\n}\n", 100000) +
           "}\n}\n",
       "No NAME specified in VERTICES section."},
      {"VERTICES {\n" + repeat("NAME: a\\\n", 300000) + "\n}\n", "Vertex group names"},
      {"BODY {\nNAME: " + repeat("xxxxxxxxxx", 10000000) + "\n}\n", "No COORDINATE_SYSTEM"},
      {Group("POLYGONS {\n" + repeat("1 2 3 4 ", 1000000) + "x\n}\n"),
       "Unable to read vertex index."},
  };
  for (const auto& c : cases) {
    BaModelData data;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Scan(c.text, &data));
    testing::internal::GetCapturedStderr();
    EXPECT_NE(TakeMessages().find(c.message), std::string::npos) << c.message;
  }
}

int asked = 0;

TEST(BaModelDataRead, StopsWhenTheUserCancels) {
  theExceptObj.setCancelHook([] { return ++asked == 2; });
  std::string comments;
  for (int i = 0; i < 100; ++i) comments += "COMMENT: x\n";
  BaModelData data;
  EXPECT_FALSE(Scan(comments + "FOO: reached\n", &data));
  theExceptObj.setCancelHook(nullptr);
  EXPECT_EQ(TakeMessages(), "E Canceled.\n");
}

TEST(BaModelDataWrite, NamesThatWouldNotComeBackAreErrors) {
  for (const char* name : {"a b", "a#b", "a}", "a{", "a\\", ""}) {
    Document data(MaterialSection("m"));
    data.materials()[0]->setName(name);
    std::ostringstream os;
    EXPECT_FALSE(data.printOn(os));
    EXPECT_EQ(TakeMessages(), "E Unable to write MATERIAL section.\nE The name \"" +
                                  std::string(name) +
                                  "\" cannot be written to a model document.\n");
  }
}

TEST(BaModelDataWrite, TellsWhereTheDiskWasFull) {
  const std::string file = "Unable to write file.\n";
  const std::string body = "E Unable to write BODY section.\nE ";
  const std::string system =
      body + "Unable to write COORDINATE_SYSTEM section.\nE Error writing file.\n";
  const std::string vertices = "E Unable to write VERTICES section.\nE ";
  const std::string effects = vertices + "Unable to write EFFECTS section.\nE ";
  const std::string geometry = "E Unable to write GEOMETRY section.\nE ";
  EXPECT_EQ(MessagesOfFullDisks(Document(EverySection())),
            (std::vector<std::string>{
                system, body + file, system, body + file,
                "E Unable to write MATERIAL section.\nE " + file,
                "E Unable to write SLIDER_GROUP section.\nE " + file,
                effects + "Unable to write FLEX effect.\nE " + file,
                effects + "Unable to write BLEND effect.\nE " + file, vertices + file,
                geometry + "Unable to write MATERIAL_GROUP section.\nE " + file, geometry + file}));
}

TEST(BaModelDataWrite, TextsThatWouldNotComeBackAreErrors) {
  const std::pair<const char*, bool> cases[] = {{"CLAMP b", true}, {"a\n# {b}", true},
                                                {"a\\", false},    {"a {", false},
                                                {"a # b", false},  {"a }\nb", false}};
  for (const auto& [text, comes_back] : cases) {
    BaMDTexture texture;
    texture.setName("t");
    texture.setTAttributes(text);
    BaMDInclude include;
    include.setFileName(text);
    std::ostringstream os;
    EXPECT_EQ(texture.printOn(os), comes_back) << text;
    EXPECT_EQ(include.printOn(os), comes_back) << text;
    EXPECT_EQ(TakeMessages().empty(), comes_back) << text;
  }
}

TEST(BaModelDataWrite, FailuresAndAssertions) {
  const Document data(EverySection());
  EXPECT_FALSE(data.save("/dev/full"));
  EXPECT_EQ(TakeMessages(), "E Unable to write '/dev/full'.\nE Unable to write file.\n");
  std::ostringstream os;
  EXPECT_DEATH((void)BaMDBody().printOn(os), "!_name.isNull\\(\\)");
  BaMDBlendVEffects blend;
  blend.setSliderGroup("g");
  blend.setSliderName("s");
  EXPECT_DEATH((void)blend.printOn(os), "_vectors.size\\(\\)>0");
  data.geometries()[0]->setBodyName("nobody");
  EXPECT_DEATH((void)data.printOn(os), "!BtError\\(\\)");
}

}  // namespace
