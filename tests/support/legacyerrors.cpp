#include "support/legacyerrors.h"

#include <utility>

namespace {

const std::string kHead = "Zov Graphic Model File\n";

// Rows whose lines follow those of the table.
void Append(const std::vector<ErrorCase>& rows, const std::string& head, const std::string& outer,
            std::vector<ErrorCase>* cases) {
  for (const ErrorCase& row : rows) cases->push_back({head + row.text, outer + row.lines});
}

void AppendHeaders(std::vector<ErrorCase>* cases) {
  const std::vector<ErrorCase> rows = {
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
  Append(rows, "", "File is not a valid Zov Graphic Model File.|", cases);
}

// Errors of one record.
struct RecordErrors {
  const char* outer;
  std::vector<std::pair<std::string, const char*>> cases;  // text and inner records
};

// Each text stands behind body 1, material 1 and a comment, so that the last object read shows
// nothing.
void AppendRecords(std::vector<ErrorCase>* cases) {
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
  const std::string head = kBasicModel + "#\n";
  for (const RecordErrors& record : records) {
    for (const auto& [text, inner] : record.cases) {
      std::string lines = std::string("|The last successfully read object was:||") + record.outer;
      if (*inner != '\0') lines += std::string("|") + inner;
      cases->push_back({head + text, lines});
    }
  }
}

void AppendVersions(std::vector<ErrorCase>* cases) {
  const std::vector<ErrorCase> rows = {
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
  Append(rows, kHead, "Unable to read first object from file.|", cases);
}

// The object that an error shows is the last of its kind; for bodies it is the one of the highest
// id.
void AppendLastObjects(std::vector<ErrorCase>* cases) {
  const std::vector<ErrorCase> rows = {
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
  for (const ErrorCase& row : rows) {
    cases->push_back(
        {kBasicModel + LegacyBody("top", 9, 1) + row.text + "\n?",
         "|The last successfully read object was:|" + row.lines + "||Unknown object type '?'."});
  }
}

void AppendTrees(std::vector<ErrorCase>* cases) {
  const std::vector<ErrorCase> rows = {
      {LegacyBody("a", 1, 7), "Body \"a\" specifies an undefined parent body (7)."},
      {LegacyBody("a", 1, -1), "Body \"a\" specifies an undefined parent body (-1)."},
      {LegacyBody("a", 1, 1), "Body \"a\" is its own ancestor."},
      {LegacyBody("a", 1, 2) + LegacyBody("b", 2, 3) + LegacyBody("c", 3, 2),
       "Body \"b\" is its own ancestor."},
  };
  Append(rows, kHead + "v1.00\n", "", cases);
}

}  // namespace

std::string LegacyBody(const std::string& name, int id, int parent) {
  return "X\n" + name + "\n" + std::to_string(id) + "\n\n" + std::to_string(parent) +
         "\n1 0 0 0 1 0 0 0 1 0 0 0\n";
}

std::vector<ErrorCase> LegacyErrors() {
  std::vector<ErrorCase> cases;
  AppendHeaders(&cases);
  AppendRecords(&cases);
  AppendVersions(&cases);
  AppendLastObjects(&cases);
  AppendTrees(&cases);
  return cases;
}

std::vector<std::string> LegacyHugeCounts() {
  std::vector<std::string> texts;
  for (const char* record :
       {"F 1 1 2147483647 0 0 0 -1", "P 1 1 2147483647 0 0 0 0 0 -1", "f 1 1 2147483647 1 ",
        "T 1 1 2147483647 0 0 0 0 -1", "t 1 1 2147483647 0 0 0 0 0 0 -1"}) {
    texts.push_back(kBasicModel + record);
  }
  return texts;
}
