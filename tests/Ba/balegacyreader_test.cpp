// The legacy reader: what it refuses and in which words, what it warns of, what it keeps.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "balegacytestutil.h"
#include "bamodel.h"
#include "bamodelheader.h"

namespace {

struct ErrorCase {
  const char* text;
  const char* lines;  // of the error, outermost record first, wrapped as printed
};

TEST(LegacyHeader, RefusesWhatIsNoModelFile) {
  const ErrorCase cases[] = {
      {"", "Unable to read from file."},
      {"Zov Graphic Model File that goes on for more than seventy-nine characters in its "
       "line\nv1.3",
       "Unable to read from file."},
      {"zov graphic model file\nv1.30\n", "Invalid datafile type."},
      {"Zov Graphic Model File \nv1.30\n", "Invalid datafile type."},
      {"Zov Graphic Model File", "Unable to read version identifier."},
      {"Zov Graphic Model File\n  \n", "Unable to read version identifier."},
      {"Zov Graphic Model File\n1.30\n", "Version identifier not found."},
      {"Zov Graphic Model File\nv\n", "Unable to read datafile version number."},
      {"Zov Graphic Model File\nv0.9\n",
       "Unsupported datafile version 0.90. Application supports versions 1.00|through 2f."},
      {"Zov Graphic Model File\nv2.5\n",
       "Unsupported datafile version 2.50. Application supports versions 1.00|through 2f."},
  };
  for (const ErrorCase& c : cases) {
    const std::string chain = std::string("File is not a valid Zov Graphic Model File.|") + c.lines;
    EXPECT_EQ(PrintedScan(c.text), PrintedError(chain)) << c.text;
  }
}

TEST(LegacyHeader, ReadsTheVersionAndNothingBehindIt) {
  for (const char* text :
       {"Zov Graphic Model File\nv1.20\n", "Zov Graphic Model File\r\nv 1.20\r\n",
        "Zov Graphic Model File\n\n v\n+1.2 rest"}) {
    std::istringstream is(text);
    float version = 0;
    EXPECT_TRUE(BaScanModelHeader(is, &version)) << text;
    EXPECT_EQ(version, 1.2F);
    EXPECT_TRUE(is.eof() || is.peek() == '\n' || is.peek() == '\r' || is.peek() == ' ');
  }
}

TEST(LegacyReader, ReadsAFileOfHeaderLinesOnly) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model, "Zov Graphic Model File\nv1.00\n"), "");
  EXPECT_EQ(model.bodies().size(), 1);
  EXPECT_EQ(model.findBody(0)->name(), BaModel::kReferenceBodyName);
  EXPECT_EQ(model.findBody(0)->parentId(), -1);
  EXPECT_EQ(model.version(), 1.0F);
}

// Errors of one record; '|' separates the records of an error.
struct RecordErrors {
  const char* outer;
  std::vector<std::pair<std::string, const char*>> cases;  // text and inner records
};

// Each text stands behind body 1, material 1 and a comment, so that the last object read shows
// nothing.
TEST(LegacyReader, RefusesBadRecords) {
  const std::string body = "\np\n0\n1 0 0 0 1 0 0 0 1 0 0 0";
  const std::string triangle = " 3 0 0 0 -1 1 0 0 -1 0 1 0 -1";
  const std::string textured = " 3 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 0 1 0 -1";
  const RecordErrors records[] = {
      {"Unknown object type '?'.", {{"?", ""}}},
      {"Unknown object type '0'.", {{"0", ""}}},
      {"Duplicate body id 1.", {{"X\nb\n1" + body, ""}}},
      {"Duplicate body id 0.", {{"X\nb\n0" + body, ""}}},
      {"Unable to read body data.",
       {{"X", "Unable to read name."},
        {"X\nb\nid", "Unable to read id."},
        {"X\nb\n2\nparent\n", "Unable to read parent id."},
        {"X\nb\n2\np\n0\n1 0 0 0 1 0 0 0 1 0 0 1e39", "Unable to read matrix."},
        {"X\nb\n2\np\n0\n1 0 0 0 1 0 0 nan 1 0 0 1", "Unable to read matrix."},
        {"X\nb\n-1" + body, "Invalid body id -1."},
        {"X\nb\n4194304" + body, "Invalid body id 4194304."}}},
      {"Duplicate material id 1.", {{"M 1 other\n0", ""}}},
      {"Unable to read material data.",
       {{"M x", "Unable to read id."},
        {"M 2", "Unable to read material name."},
        {"M 2 m\n", "Unable to read material attribute type."},
        {"M 2 m\n1 0 0", "Unable to read material emission attribute."},
        {"M 2 m\n2 0 0", "Unable to read material ambient attribute."},
        {"M 2 m\n3 0 0", "Unable to read material diffuse attribute."},
        {"M 2 m\n4 0 x", "Unable to read material specular attribute."},
        {"M 2 m\n5 x", "Unable to read material shininess attribute."},
        {"M 2 m\n7 x", "Unable to read material alpha attribute."},
        {"M 2 m\n6 0", "Unknown material attribute 6."},
        {"M 2 m\n101 x", ""}}},
      {"Unable to read material data.|Unable to read texture data.",
       {{"M 2 m\n100 x", "Unable to read texture data type."},
        {"M 2 m\n100 2", "Explicit texture images not implemented."},
        {"M 2 m\n100 3", "Unknown texture image specification."},
        {"M 2 m\n100 1", "Unable to read texture file name.|Unable to read character."},
        {"M 2 m\n100 1 'a\\", "Unable to read texture file name.|Unable to read character."},
        {"M 2 m\n100 1 'a\n'", "Unterminated texture file name."},
        {"M 2 m\n100 1 'a' 5", "Unable to read texture parameter type."}}},
      {"Unable to read lighting model data.",
       {{"G x", "Unable to read lighting model id."},
        {"G 1 2", "Unable to read lighting model on/off status."},
        {"G 1 1 x", "Unable to read lighting model attribute type."},
        {"G 1 1 2 0 0", "Unable to read lighting model ambient attribute."},
        {"G 1 1 201", "Unable to read lighting model local viewer attribute."},
        {"G 1 1 202 1", "Unable to read lighting model attenuation attribute."},
        {"G 1 1 3", "Unknown lighting model attribute type 3."}}},
      {"Unable to read light data.",
       {{"I x", "Unable to read light id."},
        {"I 1 x", "Unable to read light on/off status."},
        {"I 1 1", "Unable to read light attribute status."},
        {"I 1 1 2 0", "Unable to read light ambient attribute."},
        {"I 1 1 101 0", "Unable to read light color attribute."},
        {"I 1 1 102 0 0 0", "Unable to read light position attribute."},
        {"I 1 1 103 0 0", "Unable to read light spot direction attribute."},
        {"I 1 1 104 1", "Unable to read light spot light attribute."},
        {"I 1 1 201", "Invalid light attribute."}}},
      {"Unable to read bone data.",
       {{"B x", "Unable to read body id."},
        {"B 1 x", "Unable to read material id."},
        {"B 1 1 0 0", "Unable to read first bone coordinate."},
        {"B 1 1 0 0 0 1", "Unable to read second bone coordinate."}}},
      {"Unable to read polygon data.",
       {{"F x", "Unable to read body id."},
        {"F 1 x", "Unable to read material id."},
        {"F 1 1 x", "Unable to read the number of vertices."},
        {"F 1 1 -3", "Unable to read the number of vertices."}}},
      {"Unable to read polygon data.|Unable to read vertex.",
       {{"F 1 1 1 0 0", "Unable to read x,y and z."},
        {"F 1 1 1 0 0 0 x", "Unable to read effect type."},
        {"F 1 1 1 0 0 0 2 1 x", "Unable to read effect type."},
        {"F 1 1 1 0 0 0 4", "Unknown vertex effect type - 4."},
        {"F 1 1 1 0 0 0 -2", "Unknown vertex effect type - -2."}}},
      {"Unable to read polygon data.|Unable to read vertex.|Unable to read bulge effect.",
       {{"F 1 1 1 0 0 0 0 1 1", "Unable to read bo x,y,z coords for bulge effect."},
        {"F 1 1 1 0 0 0 0 1 1 1 2 2", "Unable to read bc x,y,z coords for bulge effect."},
        {"F 1 1 1 0 0 0 0 1 1 1 2 2 2 3 3", "Unable to read br, vn and fv for bulge effect."}}},
      {"Unable to read polygon data.|Unable to read vertex.|Unable to read morph effect.",
       {{"F 1 1 1 0 0 0 1 1 1", "Unable to read op x,y,z coords for morph effect."},
        {"F 1 1 1 0 0 0 1 1 1 1 2 2", "Unable to read vn, lv and uv for morph effect."}}},
      {"Unable to read polygon data.|Unable to read vertex.|Unable to read flex effect.",
       {{"F 1 1 1 0 0 0 2", "Unable to read weight for morph effect."}}},
      {"Unable to read polygon data.|Unable to read vertex.|Unable to read flex2 effect.",
       {{"F 1 1 1 0 0 0 3", "Unable to read weight for flex2 effect."},
        {"F 1 1 1 0 0 0 3 1 x", "Unable to read body ID for flex2 effect."}}},
      {"Unable to read textured polygon data.|Unable to read vertex.",
       {{"P 1 1 1 0", "Unable to read texture coordinates."},
        {"P 1 1 1 0 0 x", "Unable to read x,y and z."}}},
      {"Unable to read flexible polygon data.",
       {{"f 1 1 x", "Unable to read number of vertices."},
        {"f 1 1 1 x", "Unable to read other body id."},
        {"f 1 1 1 9 x", "Unable to read flexible vertex.|Unable to read mode."},
        {"f 1 1 1 9 0 0 0", "Unable to read flexible vertex.|Unable to read x,y and z."}}},
      {"Unable to read triangle mesh data.",
       {{"T 1 1 x", "Unable to read the number of vertices."},
        {"T 1 1 1 x", "Unable to read swap flag."},
        {"T 1 1 1 0 0", "Unable to read vertex.|Unable to read x,y and z."}}},
      {"Unable to read textured triangle mesh data.",
       {{"t 1 1 1 0", "Unable to read texture coordinates."},
        {"t 1 1 1 0 0 x", "Unable to read swap flag."}}},
      {"Unable to read muscle data.",
       {{"m x", "Unable to read material id for muscle data."},
        {"m 1", "Unable to read name for muscle data."},
        {"m 1 biceps\n1 2", "Error reading muscle data."},
        {"m 1 biceps\n1 x\n", "Error reading body id for muscle."}}},
      // What elements refer to: body 2 and material 3 do not exist.
      {"Bone has an unspecified body id (2).", {{"B 2 3 0 0 0 1 1 1", ""}}},
      {"Bone of body id (1) uses an unspecified material id (3).", {{"B 1 3 0 0 0 1 1 1", ""}}},
      {"Polygon has an undefined body id (2).", {{"F 2 3" + triangle, ""}}},
      {"Polygon has an undefined material id (3).", {{"F 1 3" + triangle, ""}}},
      {"Polygon has a flex2 vertex effect that references an undefined body.|(7)",
       {{"F 1 1 3 0 0 0 -1 1 0 0 3 1 1 3 1 7 -1 0 1 0 -1", ""}}},
      {"Textured Polygon has an undefined body id (2).", {{"P 2 3" + textured, ""}}},
      {"Textured Polygon has an undefined material id (3).", {{"P 1 3" + textured, ""}}},
      {"Flexible Polygon has an undefined body id (2).", {{"f 2 3 0 9", ""}}},
      {"Flexible Polygon has an undefined material id (3).", {{"f 1 3 0 9", ""}}},
      {"Triangle mesh has an undefined body id (2).", {{"T 2 3 0", ""}}},
      {"Triangle mesh has an undefined material id (3).", {{"T 1 3 0", ""}}},
      {"Textured triangle mesh has an undefined body id (2).", {{"t 2 3 0", ""}}},
      {"Textured triangle mesh has an undefined material id (3).", {{"t 1 3 0", ""}}},
  };
  for (const RecordErrors& record : records) {
    for (const auto& [text, inner] : record.cases) {
      std::string chain = std::string("|The last successfully read object was:||") + record.outer;
      if (*inner != '\0') chain += std::string("|") + inner;
      BaModel model;
      EXPECT_EQ(ScanInto(&model, (kBasicModel + "#\n").append(text)), PrintedError(chain)) << text;
      EXPECT_TRUE(model.bodies().empty() && model.materials().empty()) << text;
    }
  }
}

TEST(LegacyReader, HoldsRecordsToTheVersionOfTheFile) {
  const ErrorCase cases[] = {
      {"v1.05\nP",
       "The datafile version (1.05) does not supporttextured polygons. |"
       "Support for textured polygons beganwith version 1.10."},
      {"v1.10\nT",
       "The datafile version (1.10) does not supporttriangle meshes.  Support|"
       "for triangle meshes beganwith version 1.20."},
      {"v1.10\nt",
       "The datafile version (1.10) does not supporttextured triangle meshes. |"
       "Support for triangle meshes beganwith version 1.20."},
      {"v1.00\nM 1 m\n100 1 'a' -1 0",
       "Unable to read material data.|"
       "The data file version (1.00) does not support textures. Support for|"
       "textures began with version 1.10."},
  };
  for (const ErrorCase& c : cases) {
    const std::string chain = std::string("Unable to read first object from file.|") + c.lines;
    EXPECT_EQ(PrintedScan(std::string("Zov Graphic Model File\n") + c.text), PrintedError(chain));
  }
  EXPECT_EQ(PrintedScan("Zov Graphic Model File\nv1.10\nM 1 m\n100 1 'a' 3 -1 0"), "");
}

// The object that an error shows is the last of its kind; for bodies it is the one of the highest
// id.
TEST(LegacyReader, ShowsTheLastObjectReadWithAnError) {
  const ErrorCase cases[] = {
      {"M 2 m\n3 .5 1 0\n101 1\n0", "M   2 m| 3 0.5 1 0| 101 1| 0"},
      {"G 1 1 2 0 0 1 0", "G   1 1| 2 0 0 1| 0"},
      {"I 1 0 104 5 30 0", "I   1 0| 104 5 30| 0"},
      {"B 1 1 0 0 0 1 2 3", "B 1 1 0 0 0 1 2 3"},
      {"F 1 1 3 0 0 0 -1 1 0 0 -1 0 1 0 2 .5 -1", "F 1 1 3| 0 0 0 -1| 1 0 0 -1| 0 1 0 2 0.5 -1"},
      {"SP 1 1 3 0 0 0 0 0 -1 1 0 1 0 0 -1 0 1 0 1 0 -1",
       "S P 1 1 3| 0 0 0 0 0 -1| 1 0 1 0 0 -1| 0 1 0 1 0 -1"},
      {"f 1 1 1 0 7 0 0 0 -1", "f   1 1 1 0| 7 0 0 0 -1"},
      {"T 1 1 1 7 0 0 0 -1", "T 1 1 1| 7 0 0 0 -1"},
      {"t 1 1 1 0 1 7 0 0 0 -1", "t 1 1 1| 0 1 7 0 0 0 -1"},
      {"m 1 calf\n1 4\n", "m 1 calf| 1 4"},
      {"X\nlow\n2\n\n1\n1 0 0 0 1 0 0 0 1 0 0 0",
       "   X| top| 9| <NOT_YET_ASSIGNED>| 1|(subsequent lines omitted)"},
  };
  const std::string top = "X\ntop\n9\n\n1\n1 0 0 0 1 0 0 0 1 0 0 0\n";
  for (const ErrorCase& c : cases) {
    const std::string chain = std::string("|The last successfully read object was:|") + c.lines +
                              "||Unknown object type '?'.";
    EXPECT_EQ(PrintedScan(kBasicModel + top + c.text + "\n?"), PrintedError(chain)) << c.text;
  }
}

TEST(LegacyReader, RefusesBodiesThatFormNoTree) {
  const auto body = [](const char* name, int id, int parent) {
    return std::string("X\n") + name + "\n" + std::to_string(id) + "\n\n" + std::to_string(parent) +
           "\n1 0 0 0 1 0 0 0 1 0 0 0\n";
  };
  const std::string head = "Zov Graphic Model File\nv1.00\n";
  const struct {
    std::string text;
    const char* error;
  } cases[] = {
      {body("a", 1, 7), "Body \"a\" specifies an undefined parent body (7)."},
      {body("a", 1, -1), "Body \"a\" specifies an undefined parent body (-1)."},
      {body("a", 1, 1), "Body \"a\" is its own ancestor."},
      {body("a", 1, 2) + body("b", 2, 3) + body("c", 3, 2), "Body \"b\" is its own ancestor."},
  };
  for (const auto& c : cases) {
    BaModel model;
    EXPECT_EQ(ScanInto(&model, head + c.text), PrintedError(c.error));
    EXPECT_TRUE(model.bodies().empty());
  }
  EXPECT_EQ(PrintedScan(head + body("child", 1, 2) + body("parent", 2, 0)), "");
}

// Counts and ids that a file does not keep must be refused at once and cost no memory.
TEST(LegacyReader, BelievesNoCount) {
  for (const char* text :
       {"F 1 1 2147483647 0 0 0 -1", "P 1 1 2147483647 0 0 0 0 0 -1", "f 1 1 2147483647 1 ",
        "T 1 1 2147483647 0 0 0 0 -1", "t 1 1 2147483647 0 0 0 0 0 0 -1"}) {
    EXPECT_NE(PrintedScan(kBasicModel + text), "") << text;
  }
  BaModel model;
  EXPECT_EQ(ScanInto(&model, kBasicModel + "X\nb\n4194303\n\n1\n1 0 0 0 1 0 0 0 1 0 0 0"), "");
  EXPECT_EQ(model.bodies().size(), 4194304);
}

TEST(LegacyReader, CleansNames) {
  BaModel model;
  ASSERT_EQ(ScanInto(&model,
                     "Zov Graphic Model File\r\nv1.30\r\nX rest of the line\r\n\t left  arm \r\n"
                     " 1 rest\r\n no parent\r\n 0\r\n1 0 0\r\n0 1 0\r\n0 0 1\r\n1 2 3\r\n"
                     "X\n\n2\n\n1\n1 0 0 0 1 0 0 0 1 0 0 0\n"
                     "M 5  left \t arm \r\n0\r\nM 7 \t\r\n0\r\nm 5 upper  arm \r\n 1 2\r\n"),
            "");
  EXPECT_EQ(model.findBody(1)->name(), "left__arm");
  EXPECT_EQ(model.findBody(2)->name(), "");
  EXPECT_EQ(model.materialById(5)->name(), "leftarm");
  EXPECT_EQ(model.materialById(7)->name(), "material_7");
  ASSERT_EQ(model.muscles().count(), 1);
  EXPECT_EQ(model.muscles().last()->name(), "upper  arm");
  EXPECT_EQ(model.muscles().last()->bodyIds().size(), 2);
  const Bt4X4FloatMat& transform = model.findBody(1)->transform();
  EXPECT_EQ(transform(3, 1), 2.0F);
  EXPECT_EQ(transform(3, 3), 1.0F);
  for (const char* name : {"M 2 a", "m 2 a"}) {
    EXPECT_NE(PrintedScan(kBasicModel + name + std::string("\0b\n0\n", 5)), "") << "NUL in a name";
  }
}

TEST(LegacyReader, CutsLongLinesAsLegacyFilesDo) {
  const std::string a80(80, 'a');
  EXPECT_EQ(PrintedScan(kBasicModel + "#" + a80.substr(1) + "\nM 2 m\n0\n"), "");
  // The character behind the limit begins the next record.
  EXPECT_EQ(PrintedScan(kBasicModel + "#" + a80 + "M 2 m\n0\n"), "");
  BaModel model;
  ASSERT_EQ(ScanInto(&model, kBasicModel + "m 1" + a80 + "bcd\n1\n"), "");
  EXPECT_EQ(model.muscles().last()->name(), BtStr(std::string_view(a80)));
}

TEST(LegacyReader, ReadsTextureFileNamesBetweenAnyDelimiters) {
  const struct {
    const char* written;
    const char* name;
  } cases[] = {
      {"'a b.png'", "a b.png"},
      {"  \"it's.png\"", "it's.png"},
      {"xa\\xb.pngx", "axb.png"},
      {"'C:\\\\d\\\\a.png'", "C:\\d\\a.png"},
      {"''", ""},
      {"\\a.png\\", "a.png"},
  };
  for (const auto& c : cases) {
    BaModel model;
    const std::string text = kBasicModel + "M 2 m\n100 1 " + c.written + " 1 2 -1\n0\n";
    ASSERT_EQ(ScanInto(&model, text), "") << c.written;
    EXPECT_EQ(model.materialById(2)->texture().fileName(), c.name);
  }
}

TEST(LegacyReader, WarnsOfPolygonsThatItRepairs) {
  // Letters stand for positions; of the warnings D is a duplicate, G a polygon without face.
  const struct {
    const char* corners;
    const char* kept;
    const char* warnings;
  } cases[] = {
      {"pqr", "pqr", ""},   {"ppqrp", "pqr", "DD"}, {"pqqqr", "pqr", "DD"}, {"pqrpp", "pqr", "DD"},
      {"pqpr", "pqpr", ""}, {"pqp", "pq", "GD"},    {"ppp", "p", "GDD"},    {"", "", "G"},
  };
  for (const auto& c : cases) {
    for (const bool textured : {false, true}) {
      std::ostringstream os;
      os << (textured ? "P 1 1 " : "F 1 1 ") << std::string(c.corners).size();
      for (const char* p = c.corners; *p != '\0'; ++p) {
        if (textured) os << ' ' << static_cast<int>(*p) << " 0";
        os << ' ' << static_cast<int>(*p) << " 0 0 2 " << (p - c.corners) << " -1";
      }
      BaModel model;
      std::string chain;
      for (const char* w = c.warnings; *w != '\0'; ++w) {
        if (!chain.empty()) chain += '|';
        chain += *w == 'D' ? "Duplicate vertex removed in polygon." : "Degnerate polygon in model.";
      }
      EXPECT_EQ(ScanInto(&model, kBasicModel + os.str()),
                chain.empty() ? "" : PrintedWarning(chain))
          << c.corners;
      std::string kept;
      const BaPolygon* const polygon =
          textured ? model.texturedPolygons()[0].get() : model.polygons()[0].get();
      for (const BaVertex& vertex : polygon->vertices()) {
        kept += static_cast<char>(vertex.position()[0]);
        EXPECT_EQ(vertex.effects().count(), 1);
      }
      EXPECT_EQ(kept, c.kept);
      for (int i = 0; textured && i < polygon->numVertices(); ++i) {
        EXPECT_EQ(model.texturedPolygons()[0]->textureCoords()[i].u,
                  polygon->vertices()[i].position()[0]);
      }
    }
  }
}

TEST(LegacyReader, ClipsSpotExponents) {
  const auto warning = [](const std::string& read, const std::string& clipped) {
    return PrintedWarning("Spot light exponent (" + read + ") should be between 0.0 and 128.0. |" +
                          "Value clipped to " + clipped + ".|Warning while reading light id 3.");
  };
  EXPECT_EQ(PrintedScan(kBasicModel + "I 3 1 104 128.5 30 0"), warning("128.500000", "128.000000"));
  EXPECT_EQ(PrintedScan(kBasicModel + "I 3 1 104 -1 30 0"), warning("-1.000000", "0.000000"));
  EXPECT_EQ(PrintedScan(kBasicModel + "I 3 1 104 128 30 104 0 5 0"), "");
}

TEST(LegacyReader, MergesFlexEffects) {
  const struct {
    const char* read;
    const char* kept;
  } cases[] = {
      {"2 .25 2 .5", " 2 0.75"},
      {"3 .25 1 3 .5 1", " 3 0.75 1"},
      {"3 .25 1 3 .5 2 2 .125 3 .25 1", " 3 0.5 1 3 0.5 2 2 0.125"},
      {"2 3e38 2 3e38", " 2 3.4028235e+38"},
      {"1 1 2 3 4 5 6 1 1 2 3 4 5 6", " 1 1 2 3 4 5 6 1 1 2 3 4 5 6"},
      {"0 1 2 3 4 5 6 7 8 9", " 0 1 2 3 4 5 6 7 8 9"},
  };
  for (const auto& c : cases) {
    BaVertex vertex;
    std::istringstream is(std::string("1 2 3 ") + c.read + " -1");
    ASSERT_TRUE(vertex.scanFrom(is)) << c.read;
    std::ostringstream os;
    vertex.printOn(os);
    EXPECT_EQ(os.str(), std::string(" 1 2 3") + c.kept + " -1");
  }
  // Many of them: twice every body, in a time that does not grow with the square.
  std::ostringstream text;
  text << "0 0 0 2 1";
  for (int i = 0; i < 100000; ++i) text << " 3 .5 " << i % 50000;
  text << " 2 1 -1";
  std::istringstream is(text.str());
  BaVertex vertex;
  ASSERT_TRUE(vertex.scanFrom(is));
  EXPECT_EQ(vertex.effects().count(), 50001);
  EXPECT_EQ(static_cast<const BaVertexFlexEffect*>(vertex.effects().first())->weight, 2.0F);
}

TEST(LegacyReader, PassesOverPrefixesAndUnsupportedLetters) {
  const std::string p = "P 1 1 3 0 0 0 0 0 -1 0 0 1 0 0 -1 0 0 0 1 0 -1 ";
  BaModel model;
  testing::internal::CaptureStderr();
  ASSERT_EQ(ScanInto(&model, kBasicModel + "S" + p + p + "S\nS " + p + "S # dropped\n" + p + "VV" +
                                 p + "S"),
            "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Unsupported Obj type 'V'\nUnsupported Obj type 'V'\n");
  std::string flags;
  for (const auto& polygon : model.texturedPolygons()) flags += std::to_string(polygon->sFlag());
  EXPECT_EQ(flags, "10100");
}

TEST(LegacyReader, NamesTheFile) {
  const auto printed_read = [](const char* file_name) {
    BaModel model;
    model.read(file_name);
    return TakePrinted();
  };
  EXPECT_EQ(printed_read("/nonexistent/a.mdl"),
            PrintedError("Unable to open '/nonexistent/a.mdl'."));
  EXPECT_EQ(printed_read("/dev/null"),
            PrintedError("Unable to read '/dev/null'.|"
                         "File is not a valid Zov Graphic Model File.|Unable to read from file."));
}

// A stream buffer whose text ends in a read error.
class BrokenBuf : public std::stringbuf {
 public:
  using std::stringbuf::stringbuf;

 protected:
  int_type underflow() override {
    const int_type c = std::stringbuf::underflow();
    if (traits_type::eq_int_type(c, traits_type::eof())) throw std::ios::failure("broken");
    return c;
  }
};

TEST(LegacyReader, TellsAReadErrorFromTheEnd) {
  BrokenBuf buf(kBasicModel + "# ", std::ios::in);
  std::istream is(&buf);
  BaModel model;
  model.scanFrom(is, ".");
  EXPECT_EQ(TakePrinted(), PrintedError("Error reading file."));
  EXPECT_TRUE(model.bodies().empty());
}

int records_until_cancel = 0;

TEST(LegacyReader, AsksWhetherToCancelEveryFortyRecords) {
  theExceptObj.setCancelHook([] { return --records_until_cancel == 0; });
  records_until_cancel = 2;
  std::string text = "Zov Graphic Model File\nv1.00\n";
  for (int i = 0; i < 79; ++i) text += "#\n";
  BaModel model;
  EXPECT_EQ(ScanInto(&model, text), "");
  records_until_cancel = 2;
  EXPECT_EQ(ScanInto(&model, text + "#\n"), PrintedError("Canceled."));
  EXPECT_TRUE(model.bodies().empty());
  theExceptObj.setCancelHook(nullptr);
}

}  // namespace
