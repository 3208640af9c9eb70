#include "support/documenterrors.h"

#include <utility>

namespace {

// Texts that fail within a block.
struct BlockErrors {
  std::string open;                                        // what stands before each text
  std::string close;                                       // and behind it
  std::string outer;                                       // the records above those of the text
  std::vector<std::pair<std::string, std::string>> cases;  // text and inner records
};

constexpr const char* kSystem =
    "COORDINATE_SYSTEM {\nTRANSLATION: 1 2 3\nROTATION: 0 0 0 X Y Z\n}\n";
constexpr const char* kMaterial = "MATERIAL {\nNAME: m\n}\n";
const std::string kVertices = "VERTICES {\nNAME: v\nCOORDINATES {\n0 0 0\n1 0 0\n1 1 0\n}\n";
const std::string kMember = "Unable to read GEOMETRY section.|";

void Append(const std::vector<BlockErrors>& blocks, std::vector<ErrorCase>* cases) {
  for (const BlockErrors& block : blocks) {
    for (const auto& [text, inner] : block.cases) {
      std::string file = kDocumentHeader;
      file.append(block.open).append(text).append(block.close);
      cases->push_back({std::move(file), block.outer + inner});
    }
  }
}

std::vector<BlockErrors> Items() {
  const std::string include = "INCLUDE {\nFILE_NAME: none.mdl\n}\n";
  const std::string body = DocumentBody("a", "GLOBAL");
  return {
      {"",
       "",
       "",
       {{"FOO: 1\n", "Unrecognized key word \"FOO\"."},
        {"body {\n}\n", "Unrecognized key word \"body\"."},
        {"END\n", "No ':' or '{' following tag 'END'."},
        {"BODY { NAME\n}\n", "Invalid characters trailing '{' for 'BODY'."},
        {"BODY {\nNAME: a\n} b\n", "Invalid character ('b') trailing '}' for 'BODY'."},
        {"BODIES: x\n", "Invalid value for BODIES section."},
        {"MATERIALS {\nEXTERNAL\n}\n", "Invalid value for MATERIALS section."},
        {"COMBINE_VERTEX_NORMALS: maybe\n",
         "Invalid value for COMBINE_VERTEX_NORMALS.|Invalid boolean value."},
        {"COMBINE_VERTEX_NORMALS: true x\n", "Invalid value for COMBINE_VERTEX_NORMALS."},
        {include + body, "BODY cannot occur after an INCLUDE section."},
        {include + "COMMENT: fine\nFOO: 1\n", "FOO cannot occur after an INCLUDE section."},
        {include + "END:\n" + body, "Unable to include sub-model.|Unable to open './none.mdl'."}}},
      {"UNITS {\n",
       "\n}\n",
       "Unable to read UNITS section.|",
       {{"LENGTH: x INCHES", "Unable to read LENGTH scale factor.|Invalid floating point value."},
        {"LENGTH:", "Unable to read LENGTH scale factor.|No value given."},
        {"ANGLE: 0 RADIANS", "Unable to read ANGLE scale factor."},
        {"LENGTH: 1 METERS x", "Unable to read LENGTH units."},
        {"ANGLE: 1", "Unable to read ANGLE units.|Expecting token."},
        {"LENGTH: 1 FEET", "Unsupported LENGTH units \"FEET\"."},
        {"ANGLE: 1 INCHES", "Unsupported ANGLE units \"INCHES\"."},
        {"MASS: 1 TON", "Unrecognized key word \"MASS\"."}}},
      {"INCLUDE {\n",
       "}\n",
       "Unable to read INCLUDE section.|",
       {{"BODY_ID_OFFSET: 1\n", "No FILE_NAME specified."},
        {"FILE_NAME:\n", "Invalid value for FILE_NAME."},
        {"BODY_ID_OFFSET: 1.5\n", "Invalid value for BODY_ID_OFFSET.|Invalid integer value."},
        {"BODY_NAME_SUFFIX: a b\n", "Invalid value for BODY_NAME_SUFFIX."},
        {"NAME: 1\n", "Unrecognized key word \"NAME\"."}}},
  };
}

std::vector<BlockErrors> Bodies() {
  const std::string system = kSystem;
  const std::string open = "BODY {\n";
  const std::string outer = "Unable to read BODY section.|";
  return {
      {open,
       "}\n",
       outer,
       {{"NAME {\n}\n", "Invalid value for NAME in BODY section."},
        {"NAME:\n", "Invalid value for NAME in BODY section."},
        {"NAME: a b\n", "Body name \"a b\" has invalid characters."},
        {"NAME: a\x7F\n", "Body name \"a\x7F\" has invalid characters."},
        {"ID: x\n", "Unable to read ID.|Invalid integer value."},
        {"PARENT_NAME {\n}\n", "Invalid value for PARENT_NAME."},
        {"FOO: 1\n", "Unrecognized key word \"FOO\" in BODY section."},
        {system, "No NAME specified in BODY section."}}},
      {open + "NAME: a\n",
       "}\n",
       outer,
       {{"ID: 1 2\n", "Unable to read ID for body \"a\"."},
        {"FOO: 1\n", "Unrecognized key word \"FOO\" in BODY section for body \"a\"."},
        {"", "No COORDINATE_SYSTEM specified in BODY section."},
        {"PARENT_NAME {\n}\n", "Invalid value for PARENT_NAME for body \"a\"."},
        {"PARENT_NAME: b c\n" + system,
         "Invalid value for PARENT_NAME for body \"a\".|Body names cannot contain spaces."},
        {"PARENT_NAME: b c\n",
         "No COORDINATE_SYSTEM specified in BODY section.|"
         "Invalid value for PARENT_NAME for body \"a\".|Body names cannot contain spaces."}}},
      {open + "NAME: a\nCOORDINATE_SYSTEM {\n",
       "\n}\n}\n",
       outer + "Unable to read COORDINATE_SYSTEM section for body \"a\".|",
       {{"TRANSLATION: 1 2", "Unable to read value for TRANSLATION.|No value given."},
        {"TRANSLATION: 1 2 3 4", "Unable to read value for TRANSLATION."},
        {"ROTATION: 1 2 inf X Y Z",
         "Unable to read value for ROTATION.|Invalid floating point value."},
        {"ROTATION: 0 0 0 X Y", "Unable to read value for ROTATION.|Expecting token."},
        {"ROTATION: 0 0 0 X X Y",
         "The \"X\" component of the rotation order is specified more than once in|"
         "the COORDINATE_SYSTEM section."},
        {"ROTATION: 0 0 0 Y Z Y",
         "The \"Y\" component of the rotation order is specified more than once in|"
         "the COORDINATE_SYSTEM section."},
        {"ROTATION: 0 0 0 X Z Z",
         "The \"Z\" component of the rotation order is specified more than once in|"
         "the COORDINATE_SYSTEM section."},
        {"ROTATION: 0 0 0 X Y Q", "The rotation order has not been fully specified."},
        {"SCALE: 1", "Unrecognized key word \"SCALE\" in COORDINATE_SYSTEM section."},
        {"ROTATION: 0 0 0 X Y Z", "No TRANSLATION specified in COORDINATE_SYSTEM section."},
        {"TRANSLATION: 0 0 0", "No ROTATION specified in COORDINATE_SYSTEM section."}}},
      {"",
       "",
       "",
       {{"BODY {\nNAME: a\n" + system + "}\n", "No parent specified for body a."},
        {DocumentBody("b", "a") + DocumentBody("a", "GLOBAL"),
         "Body \"b\" specifies an undefined parent body \"a\"."},
        {DocumentBody("b", "b"), "Body \"b\" specifies an undefined parent body \"b\"."},
        {DocumentBody("a", "GLOBAL") + DocumentBody("a", "a"), "Multiple bodies have name \"a\"."},
        {DocumentBody("a", "GLOBAL", "ID: 3\n") + DocumentBody("b", "a", "ID: 3\n"),
         "Multiple bodies have id 3."},
        {DocumentBody("a", "GLOBAL", "ID: 0\n"), "Invalid body id 0."},
        {DocumentBody("a", "GLOBAL", "ID: 4194303\n") + DocumentBody("b", "a"),
         "Invalid body id 4194304."}}},
  };
}

std::vector<BlockErrors> MaterialsAndSliders() {
  const std::string material = "Unable to read MATERIAL section.|";
  return {
      {"MATERIAL {\n",
       "\n}\n",
       material,
       {{"NAME: a b",
         "Invalid value for NAME in MATERIAL section.|Material names cannot contain spaces."},
        {"NAME {\n}", "Invalid value for NAME in MATERIAL section."},
        {"EMISSION {\n}", "Unable to read value for EMISSION."},
        {"AMBIENT: 1,0,0", "Unable to read value for AMBIENT.|Invalid floating point value."},
        {"DIFFUSE: 1 x", "Unable to read value for DIFFUSE.|Invalid floating point value."},
        {"SPECULAR: nan", "Unable to read value for SPECULAR.|Invalid floating point value."},
        {"SHININESS: 1 2", "Unable to read value for SHININESS."},
        {"ALPHA:", "Unable to read value for ALPHA.|No value given."},
        {"COLOR: 1", "Unrecognized key word \"COLOR\"."},
        {"ALPHA: 1", "No NAME specified in MATERIAL section."}}},
      {"", "", "", {{std::string(kMaterial) + kMaterial, "Multiple materials have name \"m\"."}}},
      {"MATERIAL {\nTEXTURE {\n",
       "\n}\n}\n",
       material + "Unable to read TEXTURE section.|",
       {{"NAME: a b",
         "Invalid value for NAME in TEXTURE section.|TEXTURE names cannot contain spaces."},
        {"TYPE: 3D", "Invalid value for TYPE in TEXTURE section."},
        {"UNIT {\n}", "Invalid value for UNIT in TEXTURE section."},
        {"UNIT: x", "Unable to read value for UNIT in TEXTURE section.|Invalid integer value."},
        {"S_ATTRIBUTES {\n}", "Invalid value for S_ATTRIBUTES in TEXTURE section."},
        {"T_ATTRIBUTES {\n}", "Invalid value for T_ATTRIBUTES in TEXTURE section."},
        {"WRAP: x", "Unrecognized key word \"WRAP\"."},
        {"UNIT: 1", "No NAME specified in TEXTURE section."}}},
      {"SLIDER_GROUP {\n",
       "\n}\n",
       "Unable to read SLIDER_GROUP section.|",
       {{"NAME: a b",
         "Invalid value for NAME in SLIDER_GROUP section.|Slider group names cannot contain "
         "spaces."},
        {"SLIDERS {\na b\n}",
         "Invalid value for slider name in SLIDERS section.|Slider names cannot contain spaces."},
        {"SLIDERS: a", "Unable to read slider name from SLIDERS section."},
        {"X: g", "Unrecognized key word \"X\" in SLIDER_GROUP section."},
        {"", "No NAME specified in SLIDER_GROUP section."}}},
  };
}

std::vector<BlockErrors> Vertices() {
  const std::string named = "Unable to read \"v\" VERTICES section.|";
  const std::string effects = named + "Unable to read EFFECTS section.|";
  const std::string sliders = "SLIDER_GROUP {\nNAME: g\nSLIDERS {\ns\n}\n}\n";
  const std::string slider = "SLIDER_GROUP: g\nSLIDER_NAME: s\n";
  return {
      {"VERTICES {\n",
       "\n}\n",
       "Unable to read VERTICES section.|",
       {{"NAME: a b",
         "Invalid value for NAME in VERTICES section.|Vertex group names cannot contain spaces."},
        {"POINTS {\n}", "Unrecognized key word \"POINTS\"."},
        {"COORDINATES {\n0 0 0\n}", "No NAME specified in VERTICES section."}}},
      {"VERTICES {\nNAME: v\nCOORDINATES {\n",
       "\n}\n}\n",
       named + "Unable to read values for COORDINATES.|",
       {{"1 2 3 x", "Error reading X coordinate."},
        {"1", "Error reading Y coordinate."},
        {"1 2 1e39", "Error reading Z coordinate."}}},
      {"VERTICES {\nNAME: v\n",
       "}\n",
       named,
       {{"COORDINATES: 1 2 3\n", "Unable to read values for COORDINATES."}}},
      {kVertices + "EFFECTS {\n",
       "}\n}\n",
       effects,
       {{"BULGE {\n}\n", "Unrecognized key word \"BULGE\"."}}},
      {kVertices + "EFFECTS {\nFLEX {\n",
       "\n}\n}\n}\n",
       effects + "Unable to read FLEX effect.|",
       {{"BODY {\n}", "Invalid value for BODY in FLEX section."},
        {"WEIGHTS {\nx 1\n}", "Unable to read weighting in WEIGHTS section."},
        {"WEIGHTS {\n1 1 1\n}", "Unable to read vertex index in WEIGHTS section."},
        {"WEIGHTS {\n1 0\n}", "Invalid vertex index (0) in WEIGHTS section."},
        {"WEIGHTS {\n1 1\n}", "No BODY specified in FLEX section."}}},
      {kVertices + "EFFECTS {\nBLEND {\n",
       "\n}\n}\n}\n",
       effects + "Unable to read BLEND effect.|",
       {{slider + "VECTORS {\n1 2\n}", "Unable to read vector in VECTORS section."},
        {slider + "VECTORS {\n1 2 3\n}", "Unable to read vertex index in VECTORS section."},
        {slider + "VECTORS {\n1 2 3 -1\n}", "Invalid vertex index (-1) in VECTORS section."},
        {"SLIDER_GROUP: a b", "Invalid value for SLIDER_GROUP in BLEND section."},
        {"SLIDER_NAME: a b", "Invalid value for SLIDER_NAME in BLEND section."},
        {"SLIDER_NAME: s", "No SLIDER_GROUP specified in BLEND section."},
        {"SLIDER_GROUP: g", "No SLIDER_NAME specified in BLEND section."}}},
      {kVertices + "EFFECTS {\n",
       "}\n}\n",
       named,
       {{"FLEX {\nBODY: a\nWEIGHTS {\n1 4\n}\n}\n", "Invalid vertex index (4) in WEIGHTS section."},
        {"BLEND {\n" + slider + "VECTORS {\n0 0 1 5\n}\n}\n",
         "Invalid vertex index (5) in VECTORS section."}}},
      {sliders + kVertices + "EFFECTS {\nBLEND {\n",
       "VECTORS {\n}\n}\n}\n}\n",
       "",
       {{"SLIDER_GROUP: g\nSLIDER_NAME: t\n", "Invalid slider name 't' used in the blend effects."},
        {"SLIDER_GROUP: h\nSLIDER_NAME: s\n",
         "A BLEND effect specifies a slider group, \"h\", that does not exist."}}},
      {DocumentBody("a", "GLOBAL") + kMaterial,
       "",
       "",
       {{DocumentShape("a", "m", "FLEX {\nBODY: x\nWEIGHTS {\n1 1\n}\n}\n"),
         "A flexible vertex effect on body \"a\" flexes to a non-existing body|\"x\"."}}},
  };
}

std::vector<BlockErrors> Geometries() {
  const std::string group = "Unable to read MATERIAL_GROUP section.|";
  return {
      {"GEOMETRY {\n",
       "\n}\n",
       kMember,
       {{"BODY {\n}", "Invalid value for BODY."},
        {"FACES: 1", "Unrecognized key word \"FACES\"."},
        {"TEXTURE_COORDINATES {\n1 2 3\n}", "Error reading texture coordinate."}}},
      {"GEOMETRY {\nBODY: a\n",
       "\n}\n",
       "Unable to read GEOMETRY section \"a\".|",
       {{"VERTICES: v w", "Invalid value for VERTICES."},
        {"MATERIAL_GROUP {\n}", group + "No MATERIAL specified in MATERIAL_GROUP section."},
        {"MATERIAL_GROUP {\nMATERIAL: a b\n}",
         group + "Invalid value for MATERIAL in MATERIAL_GROUP section."},
        {"MATERIAL_GROUP {\nMATERIAL: m\n}",
         group + "Non-existant material 'm' specified in MATERIAL_GROUP section."}}},
      {DocumentBody("a", "GLOBAL"),
       "",
       "",
       {{"GEOMETRY {\nBODY: b\n}\n", "A GEOMETRY section specifies an undefined body name (b)."},
        {"GEOMETRY {\n}\n", "A GEOMETRY section specifies an undefined body name ()."},
        {"GEOMETRY {\nBODY: a\nVERTICES: w\n}\n",
         "GEOMETRY for body \"a\" specifies a VERTICES set (w) that does not|exist."},
        {"MATERIALS: EXTERNAL\n" + DocumentShape("a", "m"),
         "MATERIAL_GROUP specifies a material, \"m\", that does not exist."}}},
  };
}

// Lists of vertices: what cannot be read, and what refers to nothing.
std::vector<BlockErrors> Lists() {
  const std::string group =
      "Unable to read GEOMETRY section \"a\".|Unable to read MATERIAL_GROUP section \"m\".|";
  const std::string indices = group + "Unable to read vertex indices for ";
  const std::string before = DocumentBody("a", "GLOBAL") + kMaterial;
  // A shape with this list, in two halves.
  const auto list = [&before](const std::string& key, bool first) {
    const std::string whole = before + DocumentShape("a", "m", "", key + " {\n@\n}\n");
    const std::size_t at = whole.find('@');
    return first ? whole.substr(0, at) : whole.substr(at + 1);
  };
  const auto lists = [&list](const std::string& key, const std::string& outer,
                             std::vector<std::pair<std::string, std::string>> cases) {
    return BlockErrors{list(key, true), list(key, false), outer, std::move(cases)};
  };
  return {
      {before,
       "",
       group,
       {{DocumentShape("a", "m", "", "FACES {\n}\n"), "Unrecognized key word \"FACES\"."},
        {DocumentShape("a", "m", "", "BONES {\n1 2 3 4 5\n}\n"),
         "Unable to read BONE coordinates."},
        {DocumentShape("a", "m", "", "POLYGONS: 1 2 3\n"),
         "Unable to read vertex indices for POLYGON section."}}},
      lists("POLYGONS", indices + "POLYGON section.|",
            {{"1 2 x", "Unable to read vertex index."},
             {"1 2 3.5", "Unable to read vertex index."},
             {"1 2 99999999999", "Unable to read vertex index."},
             {"1 2 0", "Indices must be greater than zero."},
             {"1 2 -3", "Indices must be greater than zero."}}),
      lists("TEXTURED_POLYGONS", indices + "TEXTURED_POLYGONS section.|",
            {{"1/1 2/2 3", "Unable to read delimiter."},
             {"1/1 2 2 3/1", "Unable to read delimiter."},
             {"1/1 2/\n3/1", "Unable to read texture coordinate index."},
             {"1/1 2/0 3/1", "Indices must be greater than zero."}}),
      lists("TRIANGLE_STRIPS", indices + "TRIANGLE_STRIPS section.|",
            {{"x", "Unable to read vertex index."}}),
      lists("TEXTURED_TRIANGLE_STRIPS", indices + "TEXTURED_TRIANGLE_STRIPS section.|",
            {{"1/x", "Unable to read texture coordinate index."}}),
      lists("POLYGONS", "A POLYGON references a vertex ",
            {{"1 2 5", "(5) that does not exist."},
             {"+1 2 2147483647", "(2147483647) that does not exist."}}),
      lists("TEXTURED_POLYGONS", "A TEXTURED_POLYGON references a ",
            {{"1/1 2/2 3/3", "texture coordinate (3) that does not|exist."},
             {"1/1 9/2 3/1", "vertex (9) that does not exist."}}),
      lists("TRIANGLE_STRIPS", "A TRIANGLE_STRIP references a ",
            {{"1 2 9", "vertex (9) that does not exist."}}),
      lists("TEXTURED_TRIANGLE_STRIPS", "A TEXTURED_TRIANGLE_STRIP references a ",
            {{"1/1 2/1 9/1", "vertex (9) that does not exist."}}),
  };
}

}  // namespace

std::string DocumentBody(const std::string& name, const std::string& parent,
                         const std::string& more) {
  return "BODY {\nNAME: " + name + "\n" + more + kSystem + "PARENT_NAME: " + parent + "\n}\n";
}

std::string DocumentShape(const std::string& body, const std::string& material,
                          const std::string& effects, const std::string& lists) {
  return "VERTICES {\nNAME: " + body + "_v\nCOORDINATES {\n0 0 0\n1 0 0\n1 1 0\n0 0 -0.0\n}\n" +
         "EFFECTS {\n" + effects + "}\n}\nGEOMETRY {\nBODY: " + body + "\nVERTICES: " + body +
         "_v\nTEXTURE_COORDINATES {\n0 0\n1 1\n}\nMATERIAL_GROUP {\nMATERIAL: " + material + "\n" +
         lists + "}\n}\n";
}

std::vector<ErrorCase> DocumentErrors() {
  std::vector<ErrorCase> cases;
  for (const auto& blocks :
       {Items(), Bodies(), MaterialsAndSliders(), Vertices(), Geometries(), Lists()}) {
    Append(blocks, &cases);
  }
  return cases;
}
