#include "Ba/modeltexts.h"
#include "Bt/btparse.h"
#include "btviewstream.h"

namespace {

// A body with a shape of these lists.
std::string Group(const std::string& lists) {
  return kDocumentBody + "MATERIAL {\nNAME: m\n}\n" + DocumentShape("a", "m", "", lists);
}

// What the writer writes, in all of its parts.
std::string EverySection() { return DocumentText("every-section.mdl"); }

TEST(BaModelDataRead, HeaderIsOfVersionTwo) {
  for (const std::string version : {"2.00", "2.01", "1.99", "-2.00"}) {
    std::istringstream is("Zov Graphic Model File\nv" + version);
    float number = 0;
    const bool is_two = version == "2.00";
    EXPECT_EQ(BaModelData::scanHeader(is, &number), is_two) << version;
    EXPECT_EQ(number, is_two ? 2.0F : 0.0F);
    EXPECT_EQ(TakePrinted(), is_two ? ""
                                    : PrintedError("Unsupported datafile version " + version +
                                                   ". Application supports version 2.00."));
  }
  std::istringstream empty;
  EXPECT_FALSE(BaModelData::scanHeader(empty, nullptr));
  EXPECT_EQ(TakePrinted(), PrintedError("Unable to read from file."));
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

TEST(BaModelDataRead, AcceptsWhatIsNearlyRefused) {
  for (const ErrorCase& c : ReadErrorCases("odd-documents.txt")) {
    SCOPED_TRACE(c.text);
    BaModelData data;
    EXPECT_TRUE(Scan(c.text, &data));
    EXPECT_EQ(TakePrinted(), PrintedLines(c.lines));
  }
}

template <class Section>
bool ScansWell(const std::string& text) {
  std::istringstream is(text);
  return Section().scanFrom(is);
}

// A section is well or not whatever happened before.
TEST(BaModelDataRead, SectionsDoNotMindOlderErrors) {
  const std::string body =
      "NAME: a\nCOORDINATE_SYSTEM {\nTRANSLATION: 1 2 3\nROTATION: 0 0 0 X Y Z\n}\n";
  theExceptObj.set("older");
  EXPECT_TRUE(ScansWell<BaMDBody>(body + "PARENT_NAME: b\n"));
  EXPECT_FALSE(ScansWell<BaMDBody>(body + "PARENT_NAME: b c\n"));
  EXPECT_TRUE(ScansWell<BaMDMaterial>("NAME: m\n"));
  EXPECT_TRUE(ScansWell<BaMDVertices>("NAME: v\n"));
  theExceptObj.clear();
}

TEST(BaModelDataRead, RepeatedVerticesAreLeftOut) {
  for (const Repair& c : ReadRepairs("repaired-documents.txt")) {
    SCOPED_TRACE(c.text);
    BaModelData data;
    EXPECT_TRUE(Scan(Group(c.text), &data));
    EXPECT_EQ(TakePrinted(), PrintedLines(c.warnings));
    EXPECT_EQ(Print(*data.geometries()[0]->materialGroups()[0]), c.written);
  }
}

// Entries are read by one look at many of them; tabs in place of blanks have each read by itself.
TEST(BaModelDataRead, RowsOfIndicesAreReadAsOneByOne) {
  const std::string gaps[] = {"  ", "\n", " \n", "\n\n", " 7 7 ", " 7/7 7/7 "};
  const std::string odd[] = {"0", "1/0", "-1", "12/", "/7", "1/2/3", "1;2", "x", "123456789/1"};
  std::mt19937 random(5);
  const auto number = [&random] {
    constexpr unsigned kRanges[] = {5, 1000, 100000000};
    return std::to_string(1 + random() % kRanges[random() % std::size(kRanges)]);
  };
  int read_well = 0;
  for (int round = 0; round < 3000; ++round) {
    const bool textured = round % 2 == 0;
    std::string rows;
    while (rows.size() < 500) {
      if (random() % 500 == 0) rows += odd[random() % std::size(odd)] + " ";
      rows += number() + (textured ? "/" + number() : "");
      rows += random() % 4 > 0 ? " " : gaps[random() % (round % 3 == 0 ? std::size(gaps) : 2)];
    }
    const auto read = [&rows, textured] {
      std::istringstream is((textured ? "TEXTURED_POLYGONS {\n" : "POLYGONS {\n") + rows + "\n}\n");
      BaMDMaterialGroup group;
      group.setMaterial("m");
      const bool is_well = group.scanFrom(is, nullptr);
      return (is_well ? Print(group) : "") + TakePrinted();
    };
    const std::string as_rows = read();
    std::replace(rows.begin(), rows.end(), ' ', '\t');
    ASSERT_EQ(read(), as_rows) << rows;
    read_well += as_rows.starts_with("  MATERIAL_GROUP") ? 1 : 0;
  }
  EXPECT_GT(read_well, 500);
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
    const std::string errors = TakePrinted();
    BaModelData data;
    EXPECT_EQ(Scan("MATERIAL {\n" + std::string(value.view()) + "\n}\n", &data), read) << text;
    // The section's own line stands above.
    const std::size_t prefix = read ? 0 : PrintedError("").size() - 2;
    EXPECT_TRUE(TakePrinted().ends_with(errors.substr(prefix))) << text;
    if (!read || data.materials().empty()) continue;
    ++read_well;
    EXPECT_EQ(Print(*data.materials()[0]), Print(material)) << text;
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(compared, 500);
  EXPECT_GT(read_well, 100);
}

TEST(BaModelDataRead, HostileTextsEndInErrors) {
  const auto repeat = [](const std::string& piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
  };
  const std::pair<std::string, const char*> cases[] = {
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
  for (const auto& [text, message] : cases) {
    BaModelData data;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Scan(text, &data));
    testing::internal::GetCapturedStderr();
    EXPECT_NE(TakePrinted().find(message), std::string::npos) << message;
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
  EXPECT_EQ(TakePrinted(), PrintedError("Canceled."));
}

TEST(BaModelDataWrite, NamesThatWouldNotComeBackAreErrors) {
  for (const std::string name : {"a b", "a#b", "a}", "a{", "a\\", ""}) {
    BaModelData data;
    auto material = std::make_unique<BaMDMaterial>();
    material->setName(name.c_str());
    data.addMaterial(std::move(material));
    std::ostringstream os;
    EXPECT_FALSE(data.printOn(os));
    EXPECT_EQ(TakePrinted(), PrintedError("Unable to write MATERIAL section.|The name \"" + name +
                                          "\" cannot be written to a model document."));
  }
}

TEST(BaModelDataWrite, BodiesAndUnitsThatWouldNotComeBackAreErrors) {
  const std::string body = "Unable to write BODY section.|";
  const struct {
    std::string errors;
    BaUnits length = {"METERS", 1}, angle = {"DEGREES", 1};
    void (*change)(BaModelData* data) = [](BaModelData*) {};
  } cases[] = {
      {"Unsupported LENGTH units \"FEET\".", {"FEET", 1}},
      {"Unsupported ANGLE units \"METERS\".", {"METERS", 1}, {"METERS", 1}},
      {"Unable to write LENGTH scale factor.", {"METERS", 0}},
      {"Unable to write ANGLE scale factor.", {"METERS", 1}, {"DEGREES", NAN}},
      {body + "The name \"a\x01\" cannot be written to a model document.",
       {"METERS", 1},
       {"DEGREES", 1},
       [](BaModelData* data) { AddMDBody(data, "a\x01", "GLOBAL"); }},
      {body + "Unable to write COORDINATE_SYSTEM section.|"
              "The rotation order has not been fully specified.",
       {"METERS", 1},
       {"DEGREES", 1},
       [](BaModelData* data) { data->bodies()[0]->setCoordSys({}); }},
  };
  for (const auto& c : cases) {
    Document data(kDocumentBody);
    data.setLengthUnits(c.length);
    data.setAngleUnits(c.angle);
    c.change(&data);
    std::ostringstream os;
    EXPECT_FALSE(data.printOn(os));
    EXPECT_EQ(TakePrinted(), PrintedError(c.errors));
  }
}

template <class Entry>
BtDArray<Entry> ArrayOf(const Entry& entry) {
  BtDArray<Entry> array(1);
  array[0] = entry;
  return array;
}

TEST(BaModelDataWrite, NumbersThatAreNotFiniteAreErrors) {
  using Data = const BaModelData&;
  const std::string place = "BODY section.|Unable to write COORDINATE_SYSTEM section.";
  const std::string effects = "VERTICES section.|Unable to write EFFECTS section.|Unable to write ";
  const std::string material = "MATERIAL section.";
  const std::pair<void (*)(Data, float), std::string> cases[] = {
      {[](Data data, float number) {
         BaMDCoordSys pose = data.bodies()[0]->coordSys();
         pose.setTranslation({0, number, 0});
         data.bodies()[0]->setCoordSys(pose);
       },
       place},
      {[](Data data, float number) {
         BaMDCoordSys pose = data.bodies()[0]->coordSys();
         pose.setRotation({0, 0, number});
         data.bodies()[0]->setCoordSys(pose);
       },
       place},
      {[](Data data, float number) { data.materials()[0]->setEmission({number}); }, material},
      {[](Data data, float number) { data.materials()[0]->setAmbient({number}); }, material},
      {[](Data data, float number) { data.materials()[0]->setDiffuse({number}); }, material},
      {[](Data data, float number) { data.materials()[0]->setSpecular({number}); }, material},
      {[](Data data, float number) { data.materials()[0]->setShininess(number); }, material},
      {[](Data data, float number) { data.materials()[0]->setAlpha(number); }, material},
      {[](Data data, float number) {
         data.vertexSets()[0]->setCoordinates(ArrayOf<BaMDPoint>({0, 0, number}));
       },
       "VERTICES section."},
      {[](Data data, float number) {
         auto flex = std::make_unique<BaMDFlexVEffects>();
         flex->setBodyName("hip");
         flex->setWeights(ArrayOf<BaMDFlexVEffects::Weight>({number, 1}));
         data.vertexSets()[0]->addEffects(std::move(flex));
       },
       effects + "FLEX effect."},
      {[](Data data, float number) {
         auto blend = std::make_unique<BaMDBlendVEffects>();
         blend->setSliderGroup("face");
         blend->setSliderName("smile");
         blend->setVectors(ArrayOf<BaMDBlendVEffects::Vector>({{0, 0, number}, 1}));
         data.vertexSets()[0]->addEffects(std::move(blend));
       },
       effects + "BLEND effect."},
      {[](Data data, float number) {
         data.geometries()[0]->setTextureCoords(ArrayOf<BaTextureCoords>({number, 0}));
       },
       "GEOMETRY section."},
      {[](Data data, float number) {
         data.geometries()[0]->materialGroups()[0]->bones().push_back({{0, 0, 0}, {number, 0, 0}});
       },
       "GEOMETRY section.|Unable to write MATERIAL_GROUP section."},
  };
  for (const auto& [change, section] : cases) {
    for (const float number : {NAN, INFINITY, -INFINITY}) {
      const Document data(EverySection());
      change(data, number);
      std::ostringstream os;
      EXPECT_FALSE(data.printOn(os));
      EXPECT_EQ(
          TakePrinted(),
          PrintedError("Unable to write " + section +
                       "|A number that is not finite cannot be written to a model document."));
    }
  }
}

TEST(BaModelDataWrite, TellsWhereTheDiskWasFull) {
  const std::string file = "|Unable to write file.";
  const std::string system =
      "BODY section.|Unable to write COORDINATE_SYSTEM section.|Error writing file.";
  const std::string effects = "VERTICES section.|Unable to write EFFECTS section.|Unable to write ";
  std::vector<std::string> expected = {
      system,
      "BODY section." + file,
      system,
      "BODY section." + file,
      "MATERIAL section." + file,
      "SLIDER_GROUP section." + file,
      effects + "FLEX effect." + file,
      effects + "BLEND effect." + file,
      "VERTICES section." + file,
      "GEOMETRY section.|Unable to write MATERIAL_GROUP section." + file,
      "GEOMETRY section." + file};
  for (std::string& part : expected) part = PrintedError(part.insert(0, "Unable to write "));
  EXPECT_EQ(PrintedOnFullDisks(Document(EverySection())), expected);
}

TEST(BaModelDataWrite, TextsThatWouldNotComeBackAreErrors) {
  const std::pair<const char*, bool> cases[] = {
      {"CLAMP b", true}, {"a\n# {b}", true}, {"a\\", false}, {"a {", false},
      {"a # b", false},  {"a }\nb", false},  {" a", false},  {"a\t", false}};
  for (const auto& [text, comes_back] : cases) {
    BaMDTexture texture;
    texture.setName("t");
    texture.setTAttributes(text);
    BaMDInclude include;
    include.setFileName(text);
    std::ostringstream os;
    EXPECT_EQ(texture.printOn(os), comes_back) << text;
    EXPECT_EQ(include.printOn(os), comes_back) << text;
    EXPECT_EQ(TakePrinted().empty(), comes_back) << text;
  }
}

TEST(BaModelDataWrite, NamesTheFileThatCannotBeWritten) {
  EXPECT_FALSE(Document(EverySection()).save("/dev/full"));
  EXPECT_EQ(TakePrinted(), PrintedError("Unable to write '/dev/full'.|Unable to write file."));
}

}  // namespace
