#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "Ba/modeltexts.h"
#include "btparse.h"
#include "btviewstream.h"

namespace {

using namespace modeltexts;

const std::string kHeader = "Zov Graphic Model File\nv2.00\n";
const std::string kCoordSys = "COORDINATE_SYSTEM {\nTRANSLATION: 1 2 3\nROTATION: 0 0 0 X Y Z\n}\n";

std::string BodySection(const std::string& name, const std::string& parent,
                        const std::string& more = "") {
  return "BODY {\nNAME: " + name + "\n" + more + kCoordSys + "PARENT_NAME: " + parent + "\n}\n";
}
const std::string kBody = BodySection("a", "GLOBAL");
const std::string kMaterial = "MATERIAL {\nNAME: m\n}\n";

std::string Vertices(const std::string& effects = "") {
  return "VERTICES {\nNAME: v\nCOORDINATES {\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n}\n" + effects + "}\n";
}
std::string Group(const std::string& lists) {
  return kBody + kMaterial + Vertices() +
         "GEOMETRY {\nBODY: a\nVERTICES: v\nTEXTURE_COORDINATES {\n0 0\n1 1\n}\n"
         "MATERIAL_GROUP {\nMATERIAL: m\n" +
         lists + "}\n}\n";
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

struct MessageCase {
  std::string sections;
  const char* messages;
};

void ExpectMessages(std::span<const MessageCase> cases) {
  for (const MessageCase& c : cases) {
    SCOPED_TRACE(c.sections);
    BaModelData data;
    const bool is_error = c.messages[0] == 'E';
    EXPECT_EQ(Scan(c.sections, &data), !is_error);
    EXPECT_EQ(TakeMessages(), c.messages);
  }
}

TEST(BaModelDataRead, DocumentMessages) {
  const std::string include = "INCLUDE {\nFILE_NAME: x.mdl\n}\n";
  const MessageCase cases[] = {
      {"FOO: 1\n", "E Unrecognized key word \"FOO\".\n"},
      {"body {\n}\n", "E Unrecognized key word \"body\".\n"},
      {"END\n", "E No ':' or '{' following tag 'END'.\n"},
      {"BODIES: x\n", "E Invalid value for BODIES section.\n"},
      {"MATERIALS {\nEXTERNAL\n}\n", "E Invalid value for MATERIALS section.\n"},
      {"COMBINE_VERTEX_NORMALS: maybe\n",
       "E Invalid value for COMBINE_VERTEX_NORMALS.\nE Invalid boolean value.\n"},
      {"COMBINE_VERTEX_NORMALS: true x\n", "E Invalid value for COMBINE_VERTEX_NORMALS.\n"},
      {"UNITS {\nLENGTH: x INCHES\n}\n",
       "E Unable to read UNITS section.\nE Unable to read LENGTH scale factor.\n"
       "E Invalid floating point value.\n"},
      {"UNITS {\nANGLE: 0 RADIANS\n}\n",
       "E Unable to read UNITS section.\nE Unable to read ANGLE scale factor.\n"},
      {"UNITS {\nANGLE: 1\n}\n",
       "E Unable to read UNITS section.\nE Unable to read ANGLE units.\nE Expecting token.\n"},
      {"UNITS {\nLENGTH: 1 FEET\n}\n",
       "E Unable to read UNITS section.\nE Unsupported LENGTH units \"FEET\".\n"},
      {"UNITS {\nMASS: 1 TON\n}\n",
       "E Unable to read UNITS section.\nE Unrecognized key word \"MASS\".\n"},
      {include + kBody, "E BODY cannot occur after an INCLUDE section.\n"},
      {include + "END:\n" + kBody, "E Unable to include sub-model.\nE Unable to open './x.mdl'.\n"},
      {include + "COMMENT: fine\nFOO: 1\n", "E FOO cannot occur after an INCLUDE section.\n"},
      {"INCLUDE {\nBODY_ID_OFFSET: 1\n}\n",
       "E Unable to read INCLUDE section.\nE No FILE_NAME specified.\n"},
      {"INCLUDE {\nBODY_ID_OFFSET: 1.5\n}\n",
       "E Unable to read INCLUDE section.\nE Invalid value for BODY_ID_OFFSET.\n"
       "E Invalid integer value.\n"},
      {"INCLUDE {\nNAME: 1\n}\n",
       "E Unable to read INCLUDE section.\nE Unrecognized key word \"NAME\".\n"},
      {kBody + "GEOMETRY {\nBODY: b\n}\n",
       "E A GEOMETRY section specifies an undefined body name (b).\n"},
      {kBody + "GEOMETRY {\n}\n", "E A GEOMETRY section specifies an undefined body name ().\n"},
      {kBody + "GEOMETRY {\nBODY: a\nVERTICES: w\n}\n",
       "E GEOMETRY for body \"a\" specifies a VERTICES set (w) that does not exist.\n"},
      {"SLIDER_GROUP {\nNAME: g\nSLIDERS {\ns\n}\n}\n" +
           Vertices("EFFECTS {\nBLEND {\nSLIDER_GROUP: g\nSLIDER_NAME: t\nVECTORS {\n}\n}\n}\n"),
       "E Invalid slider name 't' used in the blend effects.\n"},
      {Vertices("EFFECTS {\nBLEND {\nSLIDER_GROUP: g\nSLIDER_NAME: t\nVECTORS {\n}\n}\n}\n"),
       "E A BLEND effect specifies a slider group, \"g\", that does not exist.\n"},
  };
  ExpectMessages(cases);
}

TEST(BaModelDataRead, BodyMessages) {
  const auto in_body = [](const std::string& text) {
    return "BODY {\nPARENT_NAME: GLOBAL\n" + text + "}\n";
  };
  const auto in_named = [&in_body](const std::string& text) { return in_body("NAME: a\n" + text); };
  const auto in_system = [&in_named](const std::string& text) {
    return in_named("COORDINATE_SYSTEM {\n" + text + "}\n");
  };
#define BODY_ERROR "E Unable to read BODY section.\n"
#define SYSTEM_ERROR BODY_ERROR "E Unable to read COORDINATE_SYSTEM section for body \"a\".\n"
  const MessageCase cases[] = {
      {in_body("NAME {\n}\n"), BODY_ERROR "E Invalid value for NAME in BODY section.\n"},
      {in_body("NAME:\n"), BODY_ERROR "E Invalid value for NAME in BODY section.\n"},
      {in_body("NAME: a b\n"), BODY_ERROR "E Body name \"a b\" has invalid characters.\n"},
      {in_body("NAME: a\x7F\n"), BODY_ERROR "E Body name \"a\x7F\" has invalid characters.\n"},
      {in_body("ID: x\n"), BODY_ERROR "E Unable to read ID.\nE Invalid integer value.\n"},
      {in_named("ID: 1 2\n"), BODY_ERROR "E Unable to read ID for body \"a\".\n"},
      {in_named("FOO: 1\n"),
       BODY_ERROR "E Unrecognized key word \"FOO\" in BODY section for body \"a\".\n"},
      {in_body(kCoordSys), BODY_ERROR "E No NAME specified in BODY section.\n"},
      {in_named(""), BODY_ERROR "E No COORDINATE_SYSTEM specified in BODY section.\n"},
      {in_named("PARENT_NAME {\n}\n"),
       BODY_ERROR "E Invalid value for PARENT_NAME for body \"a\".\n"},
      {in_named("PARENT_NAME: b c\n" + kCoordSys), BODY_ERROR
       "E Invalid value for PARENT_NAME for body \"a\".\nE Body names cannot contain spaces.\n"},
      {in_system("TRANSLATION: 1 2\n"),
       SYSTEM_ERROR "E Unable to read value for TRANSLATION.\nE No value given.\n"},
      {in_system("TRANSLATION: 1 2 3 4\n"),
       SYSTEM_ERROR "E Unable to read value for TRANSLATION.\n"},
      {in_system("ROTATION: 1 2 inf X Y Z\n"),
       SYSTEM_ERROR "E Unable to read value for ROTATION.\nE Invalid floating point value.\n"},
      {in_system("ROTATION: 0 0 0 X Y\n"),
       SYSTEM_ERROR "E Unable to read value for ROTATION.\nE Expecting token.\n"},
      {in_system("ROTATION: 0 0 0 X Y X\n"), SYSTEM_ERROR
       "E The \"X\" component of the rotation order is specified more than once in the "
       "COORDINATE_SYSTEM section.\n"},
      {in_system("ROTATION: 0 0 0 X Y Q\n"),
       SYSTEM_ERROR "E The rotation order has not been fully specified.\n"},
      {in_system("SCALE: 1\n"),
       SYSTEM_ERROR "E Unrecognized key word \"SCALE\" in COORDINATE_SYSTEM section.\n"},
      {in_system("ROTATION: 0 0 0 X Y Z\n"),
       SYSTEM_ERROR "E No TRANSLATION specified in COORDINATE_SYSTEM section.\n"},
      {in_system("TRANSLATION: 0 0 0\n"),
       SYSTEM_ERROR "E No ROTATION specified in COORDINATE_SYSTEM section.\n"},
      {"BODY {\nNAME: a\n" + kCoordSys + "}\n", "E No parent specified for body a.\n"},
      {BodySection("b", "a") + kBody, "E Body \"b\" specifies an undefined parent body \"a\".\n"},
      {BodySection("b", "b"), "E Body \"b\" specifies an undefined parent body \"b\".\n"},
      {kBody + BodySection("a", "a"), "E Multiple bodies have name \"a\".\n"},
      {BodySection("a", "GLOBAL", "ID: 3\n") + BodySection("b", "a", "ID: 3\n"),
       "E Multiple bodies have id 3.\n"},
      {BodySection("a\xC3\xA4", "GLOBAL"), ""},
  };
  ExpectMessages(cases);
}

TEST(BaModelDataRead, MaterialAndSliderMessages) {
#define MATERIAL_ERROR "E Unable to read MATERIAL section.\n"
#define TEXTURE_ERROR MATERIAL_ERROR "E Unable to read TEXTURE section.\n"
#define SLIDER_ERROR "E Unable to read SLIDER_GROUP section.\n"
  const auto material = [](const std::string& text) { return "MATERIAL {\n" + text + "}\n"; };
  const auto texture = [&material](const std::string& text) {
    return material("TEXTURE {\n" + text + "}\n");
  };
  const auto sliders = [](const std::string& text) { return "SLIDER_GROUP {\n" + text + "}\n"; };
  const MessageCase cases[] = {
      {material("NAME: m\nVERTEX_SHADER {\nany\n}\nFRAGMENT_SHADER: x\n"), ""},
      {material("NAME: a b\n"), MATERIAL_ERROR
       "E Invalid value for NAME in MATERIAL section.\nE Material names cannot contain spaces.\n"},
      {material("NAME {\n}\n"), MATERIAL_ERROR "E Invalid value for NAME in MATERIAL section.\n"},
      {material("DIFFUSE: 1 x\n"),
       MATERIAL_ERROR "E Unable to read value for DIFFUSE.\nE Invalid floating point value.\n"},
      {material("ALPHA:\n"),
       MATERIAL_ERROR "E Unable to read value for ALPHA.\nE No value given.\n"},
      {material("COLOR: 1\n"), MATERIAL_ERROR "E Unrecognized key word \"COLOR\".\n"},
      {material("ALPHA: 1\n"), MATERIAL_ERROR "E No NAME specified in MATERIAL section.\n"},
      {kMaterial + kMaterial, "E Multiple materials have name \"m\".\n"},
      {texture("NAME: a b\n"), TEXTURE_ERROR
       "E Invalid value for NAME in TEXTURE section.\nE TEXTURE names cannot contain spaces.\n"},
      {texture("TYPE: 3D\n"), TEXTURE_ERROR "E Invalid value for TYPE in TEXTURE section.\n"},
      {texture("UNIT {\n}\n"), TEXTURE_ERROR "E Invalid value for UNIT in TEXTURE section.\n"},
      {texture("UNIT: x\n"), TEXTURE_ERROR
       "E Unable to read value for UNIT in TEXTURE section.\nE Invalid integer value.\n"},
      {texture("UNIT: 1\n"), TEXTURE_ERROR "E No NAME specified in TEXTURE section.\n"},
      {sliders("NAME: a b\n"), SLIDER_ERROR "E Invalid value for NAME in SLIDER_GROUP section.\n"
                                            "E Slider group names cannot contain spaces.\n"},
      {sliders("NAME: g\nSLIDERS {\na b\n}\n"), SLIDER_ERROR
       "E Invalid value for slider name in SLIDERS section.\nE Slider names cannot contain "
       "spaces.\n"},
      {sliders("NAME: g\nSLIDERS: a\n"),
       SLIDER_ERROR "E Unable to read slider name from SLIDERS section.\n"},
      {sliders("X: g\n"), SLIDER_ERROR "E Unrecognized key word \"X\" in SLIDER_GROUP section.\n"},
      {sliders(""), SLIDER_ERROR "E No NAME specified in SLIDER_GROUP section.\n"},
  };
  ExpectMessages(cases);
}

TEST(BaModelDataRead, VertexMessages) {
#define NAMED_ERROR "E Unable to read \"v\" VERTICES section.\n"
#define FLEX_ERROR NAMED_ERROR "E Unable to read EFFECTS section.\nE Unable to read FLEX effect.\n"
#define BLEND_ERROR \
  NAMED_ERROR "E Unable to read EFFECTS section.\nE Unable to read BLEND effect.\n"
  const auto flex = [](const std::string& text) {
    return Vertices("EFFECTS {\nFLEX {\n" + text + "}\n}\n");
  };
  const auto blend = [](const std::string& text) {
    return Vertices("EFFECTS {\nBLEND {\n" + text + "}\n}\n");
  };
  const std::string names = "SLIDER_GROUP: g\nSLIDER_NAME: s\n";
  const MessageCase cases[] = {
      {"VERTICES {\nNAME: a b\n}\n",
       "E Unable to read VERTICES section.\nE Invalid value for NAME in VERTICES section.\n"
       "E Vertex group names cannot contain spaces.\n"},
      {"VERTICES {\nNAME: v\nCOORDINATES {\n1 2 3 x\n}\n}\n",
       NAMED_ERROR "E Unable to read values for COORDINATES.\nE Error reading X coordinate.\n"},
      {"VERTICES {\nNAME: v\nCOORDINATES {\n1\n}\n}\n",
       NAMED_ERROR "E Unable to read values for COORDINATES.\nE Error reading Y coordinate.\n"},
      {"VERTICES {\nNAME: v\nCOORDINATES {\n1 2 1e39\n}\n}\n",
       NAMED_ERROR "E Unable to read values for COORDINATES.\nE Error reading Z coordinate.\n"},
      {Vertices("EFFECTS {\nBULGE {\n}\n}\n"),
       NAMED_ERROR "E Unable to read EFFECTS section.\nE Unrecognized key word \"BULGE\".\n"},
      {flex("BODY {\n}\n"), FLEX_ERROR "E Invalid value for BODY in FLEX section.\n"},
      {flex("BODY: a\nWEIGHTS {\nx 1\n}\n"),
       FLEX_ERROR "E Unable to read weighting in WEIGHTS section.\n"},
      {flex("BODY: a\nWEIGHTS {\n1 1 1\n}\n"),
       FLEX_ERROR "E Unable to read vertex index in WEIGHTS section.\n"},
      {flex("BODY: a\nWEIGHTS {\n1 0\n}\n"),
       FLEX_ERROR "E Invalid vertex index (0) in WEIGHTS section.\n"},
      {flex("BODY: a\nWEIGHTS {\n1 5\n}\n"),
       NAMED_ERROR "E Invalid vertex index (5) in WEIGHTS section.\n"},
      {flex("WEIGHTS {\n1 1\n}\n"), FLEX_ERROR "E No BODY specified in FLEX section.\n"},
      {blend(names + "VECTORS {\n1 2\n}\n"),
       BLEND_ERROR "E Unable to read vector in VECTORS section.\n"},
      {blend(names + "VECTORS {\n1 2 3\n}\n"),
       BLEND_ERROR "E Unable to read vertex index in VECTORS section.\n"},
      {blend(names + "VECTORS {\n1 2 3 -1\n}\n"),
       BLEND_ERROR "E Invalid vertex index (-1) in VECTORS section.\n"},
      {blend("SLIDER_NAME: a b\n"),
       BLEND_ERROR "E Invalid value for SLIDER_NAME in BLEND section.\n"},
      {blend("SLIDER_NAME: s\n"), BLEND_ERROR "E No SLIDER_GROUP specified in BLEND section.\n"},
      {blend("SLIDER_GROUP: g\n"), BLEND_ERROR "E No SLIDER_NAME specified in BLEND section.\n"},
  };
  ExpectMessages(cases);
}

TEST(BaModelDataRead, GeometryMessages) {
#define GROUP_ERROR \
  "E Unable to read GEOMETRY section \"a\".\nE Unable to read MATERIAL_GROUP section \"m\".\n"
#define POLYGON_ERROR GROUP_ERROR "E Unable to read vertex indices for POLYGON section.\n"
#define TEXTURED_ERROR \
  GROUP_ERROR "E Unable to read vertex indices for TEXTURED_POLYGONS section.\n"
  const auto polygons = [](const std::string& text) {
    return Group("POLYGONS {\n" + text + "\n}\n");
  };
  const auto textured = [](const std::string& text) {
    return Group("TEXTURED_POLYGONS {\n" + text + "\n}\n");
  };
  const MessageCase cases[] = {
      {"GEOMETRY {\nBODY {\n}\n}\n",
       "E Unable to read GEOMETRY section.\nE Invalid value for BODY.\n"},
      {"GEOMETRY {\nBODY: a\nVERTICES: v w\n}\n",
       "E Unable to read GEOMETRY section \"a\".\nE Invalid value for VERTICES.\n"},
      {"GEOMETRY {\nTEXTURE_COORDINATES {\n1 2 3\n}\n}\n",
       "E Unable to read GEOMETRY section.\nE Error reading texture coordinate.\n"},
      {"GEOMETRY {\nMATERIAL_GROUP {\nMATERIAL: m\n}\n}\n",
       "E Unable to read GEOMETRY section.\nE Unable to read MATERIAL_GROUP section.\n"
       "E Non-existant material 'm' specified in MATERIAL_GROUP section.\n"},
      {"GEOMETRY {\nMATERIAL_GROUP {\n}\n}\n",
       "E Unable to read GEOMETRY section.\nE Unable to read MATERIAL_GROUP section.\n"
       "E No MATERIAL specified in MATERIAL_GROUP section.\n"},
      {Group("BONES {\n1 2 3 4 5\n}\n"), GROUP_ERROR "E Unable to read BONE coordinates.\n"},
      {Group("FACES {\n}\n"), GROUP_ERROR "E Unrecognized key word \"FACES\".\n"},
      {polygons("1 2 x"), POLYGON_ERROR "E Unable to read vertex index.\n"},
      {polygons("1 2 3.5"), POLYGON_ERROR "E Unable to read vertex index.\n"},
      {polygons("1 2 99999999999"), POLYGON_ERROR "E Unable to read vertex index.\n"},
      {polygons("1 2 0"), POLYGON_ERROR "E Indices must be greater than zero.\n"},
      {polygons("1 2 -3"), POLYGON_ERROR "E Indices must be greater than zero.\n"},
      {polygons("1 2 5"), "E A POLYGON references a vertex (5) that does not exist.\n"},
      {polygons("+1 2 2147483647"),
       "E A POLYGON references a vertex (2147483647) that does not exist.\n"},
      {textured("1/1 2/2 3"), TEXTURED_ERROR "E Unable to read delimiter.\n"},
      {textured("1/1 2 2 3/1"), TEXTURED_ERROR "E Unable to read delimiter.\n"},
      {textured("1/1 2/\n3/1"), TEXTURED_ERROR "E Unable to read texture coordinate index.\n"},
      {textured("1/1 2/0 3/1"), TEXTURED_ERROR "E Indices must be greater than zero.\n"},
      {textured("1/1 2/2 3/3"),
       "E A TEXTURED_POLYGON references a texture coordinate (3) that does not exist.\n"},
      {textured("1/1 9/2 3/1"),
       "E A TEXTURED_POLYGON references a vertex (9) that does not exist.\n"},
      {Group("TRIANGLE_STRIPS {\n1 2 9\n}\n"),
       "E A TRIANGLE_STRIP references a vertex (9) that does not exist.\n"},
      {Group("TEXTURED_TRIANGLE_STRIPS {\n1/1 2/1 9/1\n}\n"),
       "E A TEXTURED_TRIANGLE_STRIP references a vertex (9) that does not exist.\n"},
      {Group("TRIANGLE_STRIPS {\nx\n}\n"),
       GROUP_ERROR "E Unable to read vertex indices for TRIANGLE_STRIPS section.\n"
                   "E Unable to read vertex index.\n"},
  };
  ExpectMessages(cases);
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

// A random document: every section any number of times, numbers of few digits.
class RandomDocument {
 public:
  explicit RandomDocument(unsigned seed) : _random(seed) {}

  std::string make() {
    std::string text = kHeader + "UNITS {\n  LENGTH: 1 INCHES\n  ANGLE: 1 RADIANS\n}\n";
    const int bodies = 1 + _below(5);
    for (int i = 0; i < bodies; ++i) {
      text += "BODY {\n  NAME: b" + std::to_string(i) + "\n";
      if (_below(2) == 0) text += "  ID: " + std::to_string(i + 1) + "\n";
      text += "  COORDINATE_SYSTEM {\n    TRANSLATION: " + _numbers(3) +
              "\n    ROTATION: " + _numbers(3) + (_below(2) == 0 ? " X Y Z" : " Y X Z") +
              "\n  }\n  PARENT_NAME: " + (i == 0 ? "GLOBAL" : "b" + std::to_string(_below(i))) +
              "\n}\n";
    }
    text += "MATERIAL {\n  NAME: m\n  EMISSION: " + _numbers(3) +
            "\n  AMBIENT: " + _numbers(_below(5)) + "\n  DIFFUSE: " + _numbers(3) +
            "\n  SPECULAR: " + _numbers(3) + "\n  SHININESS: " + _numbers(1) +
            "\n  ALPHA: " + _numbers(1) + "\n}\n";
    text += "SLIDER_GROUP {\n  NAME: g\n  SLIDERS {\n    s\n  }\n}\n";
    const int points = 3 + _below(20);
    text += "VERTICES {\n  NAME: v\n  COORDINATES {\n" +
            _lines(points, 4, [&] { return _numbers(3); }) + "  }\n  EFFECTS {\n";
    const auto index = [this, points] { return std::to_string(1 + _below(points)); };
    for (int i = _below(3); i > 0; --i) {
      text += "    FLEX {\n      BODY: b0\n      WEIGHTS {\n" +
              _lines(1 + _below(4), 8, [&] { return _numbers(1) + " " + index(); }) +
              "      }\n    }\n    BLEND {\n      SLIDER_GROUP: g\n      SLIDER_NAME: s\n"
              "      VECTORS {\n" +
              _lines(1 + _below(4), 8, [&] { return _numbers(3) + " " + index(); }) +
              "      }\n    }\n";
    }
    text += "  }\n}\nGEOMETRY {\n  BODY: b0\n  VERTICES: v\n  TEXTURE_COORDINATES {\n    " +
            _numbers(2) + "\n  }\n";
    for (int i = _below(3); i > 0; --i) {
      const auto polygon = [this, points] { return _polygon(points, ""); };
      const auto textured = [this, points] { return _polygon(points, "/1"); };
      text += "  MATERIAL_GROUP {\n    MATERIAL: m\n    BONES {\n" +
              _lines(1 + _below(3), 6, [&] { return _numbers(6); }) + "    }\n    POLYGONS {\n" +
              _lines(1 + _below(9), 6, polygon) + "    }\n    TEXTURED_POLYGONS {\n" +
              _lines(1 + _below(9), 6, textured) + "    }\n    TRIANGLE_STRIPS {\n" +
              _lines(1 + _below(9), 6, polygon) + "    }\n  }\n";
    }
    return text + "}\n";
  }

 private:
  int _below(int limit) { return static_cast<int>(_random() % static_cast<unsigned>(limit)); }
  std::string _numbers(int count) {
    std::ostringstream os;
    for (int i = 0; i < count; ++i) {
      os << (i == 0 ? "" : " ") << static_cast<float>(_below(2000000) - 1000000) / 1000.0F;
    }
    return os.str();
  }
  template <class Make>
  std::string _lines(int count, int indent, Make make) {
    std::string lines;
    for (int i = 0; i < count; ++i) {
      lines += std::string(static_cast<std::size_t>(indent), ' ') + make() + "\n";
    }
    return lines;
  }
  // Different vertices in a row.
  std::string _polygon(int points, const std::string& tail) {
    const int corners = 3 + _below(points - 2);
    const int first = _below(points);
    std::string line;
    for (int i = 0; i < corners; ++i) {
      line += (i == 0 ? "" : " ") + std::to_string((first + i) % points + 1) + tail;
    }
    return line;
  }

  std::mt19937 _random;
};

TEST(BaModelDataRead, RandomDocumentsComeBack) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    const std::string text = RandomDocument(seed).make();
    BaModelData data;
    ASSERT_TRUE(Scan(text.substr(kHeader.size()), &data)) << TakeMessages() << text;
    ASSERT_EQ(Print(data), text);
  }
}

// A document that ends too early is read without harm; whatever stands before the cut is all right,
// so all that may be missed is the end of a block.
TEST(BaModelDataRead, CutFiles) {
  const std::string sections = kWhole.substr(kHeader.size());
  for (std::size_t length = 0; length <= sections.size(); ++length) {
    BaModelData data;
    testing::internal::CaptureStderr();
    const bool read = Scan(sections.substr(0, length), &data);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(read, TakeMessages().empty());
  }
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
      {"BODY {\nNAME: " + repeat("x", 10000000) + "\n}\n", "No COORDINATE_SYSTEM"},
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

TEST(BaModelDataWrite, FailuresAndAssertions) {
  BaModelData data;
  ASSERT_TRUE(Scan(kWhole.substr(kHeader.size()), &data));
  std::ostringstream broken;
  broken.setstate(std::ios::badbit);
  EXPECT_FALSE(data.printOn(broken));
  EXPECT_EQ(TakeMessages(),
            "E Unable to write BODY section.\nE Unable to write COORDINATE_SYSTEM section.\n"
            "E Error writing file.\n");
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
