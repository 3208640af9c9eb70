#include <gtest/gtest.h>

#include <random>

#include "Ba/modeltexts.h"
#include "btparse.h"
#include "btviewstream.h"
#include "support/documenterrors.h"

namespace {

using namespace modeltexts;

const std::string kHeader = kDocumentHeader;
const std::string kBody = DocumentBody("a", "GLOBAL");

// A body with a shape of these lists.
std::string Group(const std::string& lists) {
  return kBody + "MATERIAL {\nNAME: m\n}\n" + DocumentShape("a", "m", "", lists);
}

bool Scan(const std::string& sections, BaModelData* data) {
  std::istringstream is(sections);
  return data->scan(is, ".", true);
}

TEST(BaModelDataRead, Header) {
  const auto unsupported = [](const std::string& number) {
    return "E Unsupported datafile version " + number + ". Application supports version 2.00.\n";
  };
  struct {
    const char* text;
    std::string messages;
  } cases[] = {
      {"Zov Graphic Model File\nv2", ""},
      {"Zov Graphic Model File\r\nv2.0\r\n", ""},
      {"Zov Graphic Model File\n v 2.00\n", ""},
      {"", "E Unable to read from file.\n"},
      {"Zov Graphic Model\nv2.00\n", "E Invalid datafile type.\n"},
      {"Zov Graphic Model File", "E Unable to read version identifier.\n"},
      {"Zov Graphic Model File\nx2.00", "E Version identifier not found.\n"},
      {"Zov Graphic Model File\nvx", "E Unable to read datafile version number.\n"},
      {"Zov Graphic Model File\nv2.01\n", unsupported("2.01")},
      {"Zov Graphic Model File\nv1.99\n", unsupported("1.99")},
      {"Zov Graphic Model File\nv-2\n", unsupported("-2.00")},
  };
  for (const auto& c : cases) {
    std::istringstream is(c.text);
    float number = 0;
    EXPECT_EQ(BaModelData::scanHeader(is, &number), c.messages.empty()) << c.text;
    EXPECT_EQ(TakeMessages(), c.messages) << c.text;
    EXPECT_EQ(number, c.messages.empty() ? 2.0F : 0.0F);
  }
}

// What the writer writes, in all of its parts.
const std::string kWhole = kHeader + R"(COMBINE_VERTEX_NORMALS: false
UNITS {
  LENGTH: 2.5 METERS
  ANGLE: 1 DEGREES
}
BODY {
  NAME: hip
  ID: 7
  COORDINATE_SYSTEM {
    TRANSLATION: 1 -2.5 3e+07
    ROTATION: 0 90 0.25 Z X Y
  }
  PARENT_NAME: GLOBAL
}
BODY {
  NAME: leg.L
  COORDINATE_SYSTEM {
    TRANSLATION: 0 0 0
    ROTATION: 0 0 0 X Y Z
  }
  PARENT_NAME: hip
}
MATERIAL {
  NAME: skin
  EMISSION: 0 0 0
  AMBIENT: 0.1 0.2 0.3 1
  DIFFUSE: 0.333333
  SPECULAR: 
  SHININESS: 12.5
  ALPHA: 0.5
  TEXTURE {
    NAME: C:\maps\skin.png
    UNIT: 0
    S_ATTRIBUTES: CLAMP
  }
  TEXTURE {
    NAME: sky.png
    UNIT: 3
    TYPE: CUBE_ENV
    S_ATTRIBUTES: REPEAT
    T_ATTRIBUTES: a b\
c
  }
}
SLIDER_GROUP {
  NAME: face
  SLIDERS {
    smile
    frown
  }
}
VERTICES {
  NAME: v
  COORDINATES {
    0 0 0
    1 0 0
    1 1 0
    0 1 0
  }
  EFFECTS {
    FLEX {
      BODY: hip
      WEIGHTS {
        0.5 1
        -1 4
      }
    }
    BLEND {
      SLIDER_GROUP: face
      SLIDER_NAME: frown
      VECTORS {
        0 0.125 -1 2
      }
    }
  }
}
GEOMETRY {
  BODY: leg.L
  VERTICES: v
  TEXTURE_COORDINATES {
    0 0
    1 0.5
  }
  MATERIAL_GROUP {
    MATERIAL: skin
    BONES {
      0 0 0 1 2 3
    }
    POLYGONS {
      1 2 3 4
      1 2 3
    }
    TEXTURED_POLYGONS {
      1/1 2/2 3/1
    }
    TRIANGLE_STRIPS {
      1 2 3 4
    }
    TEXTURED_TRIANGLE_STRIPS {
      1/2 2/1 3/2 4/1
    }
  }
}
)";

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
  const std::string sections = kWhole.substr(kHeader.size());
  for (const std::string& text : {sections, Untidy(sections), sections + "END:\nrubbish"}) {
    BaModelData data;
    ASSERT_TRUE(Scan(text, &data)) << TakeMessages();
    EXPECT_EQ(Print(data), kWhole);
  }
}

TEST(BaModelDataRead, ExternalSectionsAreNotWritten) {
  BaModelData data;
  ASSERT_TRUE(Scan("BODIES: EXTERNAL\nMATERIALS: EXTERNAL\nCOMMENT {\nx {\n}\n}\n" + kBody +
                       "GEOMETRY {\nBODY: a\nMATERIAL_GROUP {\nMATERIAL: elsewhere\n}\n}\n",
                   &data))
      << TakeMessages();
  EXPECT_EQ(Print(data), kHeader +
                             "BODIES: EXTERNAL\nMATERIALS: EXTERNAL\nUNITS {\n  LENGTH: 1 INCHES\n"
                             "  ANGLE: 1 RADIANS\n}\nGEOMETRY {\n  BODY: a\n  MATERIAL_GROUP {\n"
                             "    MATERIAL: elsewhere\n  }\n}\n");
}

TEST(BaModelDataRead, RefusesBadFiles) {
  for (const ErrorCase& c : DocumentErrors()) {
    SCOPED_TRACE(c.text);
    std::istringstream is(c.text);
    BaModel model;
    model.scanFrom(is, ".");
    EXPECT_EQ(TakePrinted(), PrintedError(c.lines));
    EXPECT_TRUE(model.bodies().empty() && model.materials().empty());
  }
}

// What others may write, and what says something twice.
TEST(BaModelDataRead, AcceptsWhatIsNearlyRefused) {
  const std::string sliders = "SLIDER_GROUP {\nNAME: g\nSLIDERS {\ns\n}\n}\n";
  const auto repeat = [](const std::string& key) {
    return "W " + key + " is given more than once.  What it says last counts.\n";
  };
  const struct {
    std::string sections;
    std::string messages;
  } cases[] = {
      {"MATERIAL {\nNAME: m\nVERTEX_SHADER {\nany\n}\nFRAGMENT_SHADER: x\n}\n", ""},
      {DocumentBody("a\xC3\xA4", "GLOBAL"), ""},
      {DocumentBody("a", "GLOBAL", "ID: 1\nID: 2\n"), repeat("ID")},
      {"COMBINE_VERTEX_NORMALS: true\nCOMBINE_VERTEX_NORMALS: false\n",
       repeat("COMBINE_VERTEX_NORMALS")},
      {"BODIES: EXTERNAL\nBODIES: EXTERNAL\nCOMMENT: a\nCOMMENT: b\n", ""},
      {"VERTICES {\nNAME: v\nCOORDINATES {\n1 1 1\n}\nCOORDINATES {\n}\nEFFECTS {\n}\nEFFECTS "
       "{\n}\n}\n",
       repeat("COORDINATES")},
      {"VERTICES {\nNAME: v\n}\nVERTICES {\nNAME: v\n}\n",
       "W Multiple vertex sets have name \"v\".  The first one counts.\n"},
      {sliders + sliders, "W Multiple slider groups have name \"g\".  The first one counts.\n"},
      {"SLIDER_GROUP {\nNAME: g\nSLIDERS {\ns\n}\nSLIDERS {\ns\n}\n}\n",
       "W Multiple sliders of a group have name \"s\".  The first one counts.\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sections);
    BaModelData data;
    EXPECT_TRUE(Scan(c.sections, &data));
    EXPECT_EQ(TakeMessages(), c.messages);
  }
}

TEST(BaModelDataRead, RepeatedVerticesAreLeftOut) {
#define DUPLICATE "W Duplicate vertex in polygon removed.\n"
#define DEGENERATE "W Degenerate polygon removed.\n"
  struct {
    const char* block;
    const char* kept;
    const char* messages;
  } cases[] = {
      {"POLYGONS {\n1 2 2 3\n}\n", "      1 2 3\n", DUPLICATE},
      {"POLYGONS {\n1 2 3 1\n}\n", "      1 2 3\n", DUPLICATE},
      {"POLYGONS {\n1 2 3 1 1\n\n2 3 4\n}\n", "      1 2 3\n      2 3 4\n", DUPLICATE DUPLICATE},
      {"POLYGONS {\n1 2 2\n}\n", "", DEGENERATE DUPLICATE},
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
  const char* pieces[] = {"NAME: v\n",
                          "ALPHA: 3\n",
                          "VERTEX_SHADER {\n",
                          "}\n",
                          "}\n",
                          "{",
                          "}",
                          "VERTEX_SHADER { # }\n",
                          "\\\n",
                          "\\",
                          " # c }\n",
                          "\n",
                          "VERTEX_SHADER: a\\\n",
                          "}}\n",
                          " ",
                          "x { # {\n",
                          ":",
                          "{ y\n"};
  std::mt19937 random(3);
  int compared = 0;
  int read_well = 0;
  testing::internal::CaptureStderr();
  for (int round = 0; round < 20000; ++round) {
    std::string text = "VERTEX_SHADER {\n";
    for (std::size_t n = random() % 8; n > 0; --n) text += pieces[random() % std::size(pieces)];
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
  int whole = 0;
  for (std::size_t length = 0; length <= kWhole.size(); ++length) {
    SCOPED_TRACE(length);
    std::istringstream is(kWhole.substr(0, length));
    testing::internal::CaptureStderr();
    BaModel model;
    model.scanFrom(is, ".");
    testing::internal::GetCapturedStderr();
    const bool failed = BtError();
    EXPECT_EQ(TakeMessages().empty(), !failed);
    EXPECT_EQ(model.bodies().empty(), failed);
    if (failed) continue;
    ++whole;
    BaModelData data;
    EXPECT_TRUE(data.fillFrom(model, true)) << TakeMessages();
  }
  EXPECT_GT(whole, 5);
}

TEST(BaModelDataRead, HostileTextsEndInErrors) {
  const auto repeat = [](const std::string& piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
  };
  struct {
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
    BaModelData data;
    auto material = std::make_unique<BaMDMaterial>();
    material->setName(name);
    data.addMaterial(std::move(material));
    std::ostringstream os;
    EXPECT_FALSE(data.printOn(os));
    EXPECT_EQ(TakeMessages(), "E Unable to write MATERIAL section.\nE The name \"" +
                                  std::string(name) +
                                  "\" cannot be written to a model document.\n");
  }
}

// Takes so many characters and no more.
class FullDisk : public std::streambuf {
 public:
  explicit FullDisk(std::size_t room) : _room(room) {}

 protected:
  int overflow(int c) override {
    if (_room == 0) return std::char_traits<char>::eof();
    --_room;
    return c;
  }

 private:
  std::size_t _room;
};

TEST(BaModelDataWrite, TellsWhereTheDiskWasFull) {
  BaModelData data;
  ASSERT_TRUE(Scan(kWhole.substr(kHeader.size()), &data));
  std::vector<std::string> messages;
  for (std::size_t room = 0; room < kWhole.size(); ++room) {
    FullDisk disk(room);
    std::ostream os(&disk);
    EXPECT_FALSE(data.printOn(os)) << room;
    const std::string message = TakeMessages();
    if (messages.empty() || messages.back() != message) messages.push_back(message);
  }
  const std::string body = "E Unable to write BODY section.\nE ";
  const std::string system =
      body + "Unable to write COORDINATE_SYSTEM section.\nE Error writing file.\n";
  const std::string file = "Unable to write file.\n";
  const std::string vertices = "E Unable to write VERTICES section.\nE ";
  const std::string effects = vertices + "Unable to write EFFECTS section.\nE ";
  EXPECT_EQ(
      messages,
      (std::vector<std::string>{
          system, body + file, system, body + file,
          "E Unable to write MATERIAL section.\nE " + file,
          "E Unable to write SLIDER_GROUP section.\nE " + file,
          effects + "Unable to write FLEX effect.\nE " + file,
          effects + "Unable to write BLEND effect.\nE " + file, vertices + file,
          "E Unable to write GEOMETRY section.\nE Unable to write MATERIAL_GROUP section.\nE " +
              file,
          "E Unable to write GEOMETRY section.\nE " + file}));
}

TEST(BaModelDataWrite, TextsThatWouldNotComeBackAreErrors) {
  const struct {
    const char* text;
    bool comes_back;
  } cases[] = {{"CLAMP b", true}, {"a\n# {b}", true}, {"a\\", false},
               {"a {", false},    {"a # b", false},   {"a }\nb", false}};
  for (const auto& c : cases) {
    BaMDTexture texture;
    texture.setName("t");
    texture.setTAttributes(c.text);
    BaMDInclude include;
    include.setFileName(c.text);
    std::ostringstream os;
    EXPECT_EQ(texture.printOn(os), c.comes_back) << c.text;
    EXPECT_EQ(include.printOn(os), c.comes_back) << c.text;
    EXPECT_EQ(TakeMessages().empty(), c.comes_back) << c.text;
  }
}

TEST(BaModelDataWrite, FailuresAndAssertions) {
  BaModelData data;
  ASSERT_TRUE(Scan(kWhole.substr(kHeader.size()), &data));
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
