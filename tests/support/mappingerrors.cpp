#include "support/mappingerrors.h"

#include <string>

#include "support/mappingtexts.h"

std::vector<ErrorCase> BodyMapErrors() {
  return {
      {"x", "Error reading body id|"},
      {"0 1 2 3 4 5 6", "Invalid body id 0."},
      {"5 1 2 x", "Cannot read transformation type for body id 5."},
      {"5 1 2 7", "Invalid transformation type (7) for body id 5."},
      {"5 1 2 0", "Invalid transformation type (0) for body id 5."},
      {"5 1 2 3 4 5 6\n1 99999999999",
       "Unable to read system variable id for transform #2, body 5."},
      {"5 1 2 3 4 5 6\n1 -1 nan",
       "Unable to read constant for linear combination for transform #2, body|5."},
      {"5 1 2 3 4 5 6\n-2 0.5 1",
       "Cannot read sysvar/coefficent pair for transform #1, body id 5."},
      {"5 1 2 3 4 5 6\n-2147483648 0.5 1 1 1 1e39",
       "Cannot read sysvar/coefficent pair for transform #1, body id 5."},
      {"5 1 2 3 4 5 6\n-3 0.5 1 1 0 1",
       "Invalid system variable id in linear combination for transform #1,|body id 5."},
  };
}

std::vector<ErrorCase> MappingErrors() {
  const std::string header = "Zov Graphic Mapping File\n";
  const std::string no_header = "Invalid datafile.|Unable to validate datafile header.|";
  const std::string no_map =
      "Unable to read Body Map.  Last successfully read body map was for body|";
  const std::string no_texture = "Unable to read material texture index maps.|";
  const std::string no_effect = "Unable to blend effect map.|";
  const std::string no_group = no_effect + "No SLIDER_GROUP specified in BLEND_EFFECT_MAP section.";
  const std::string bad_group =
      no_effect + "Invalid value for SLIDER_GROUP in BLEND_EFFECT_MAP section.";
  const std::string no_include = "Unable to read include.|";
  const std::string include = "INCLUDE {\nFILE_NAME: a\n}\n";
  std::vector<ErrorCase> cases = {
      {"", no_header + "Error reading file."},
      {"Zov Graphic Mapping\nv1.0\n", no_header + "Invalid datafile header id."},
      {header + "version 1.0", no_header + "Unable to read datafile version number."},
      {header + "v2.0\n",
       no_header + "Unsupported datafile version 2.00.  Application uses version 1.00."},
      {header + "v1.0\nx", "Error reading number of variables|"},
      {header + "v1.0\n5\n", "Error reading number of bodies|"},
      {header + "v1.0\n5\n-1\n", "Error reading number of bodies|"},
      {MappingText(5, 2147483647, ""), no_map + "0.|Error reading body id|"},
      {MappingText(6, 2, BodyRecord(9, 1) + "4 0"),
       no_map + "9.|Invalid transformation type (0) for body id 4."},
      {MappingText(6, 3, BodyRecord(9, 1) + BodyRecord(2, 1) + BodyRecord(9, 1)),
       "The mapping for body 9 is specified multiple times."},
      {OneBody("END\n"), "No ':' or '{' following tag 'END'."},
      {OneBody("MODEL: x\n"), "Invalid tag 'MODEL' in mapping file."},
      {TextureMaps("0 1"), no_texture + "Invalid material id '0' specified."},
      {TextureMaps("1 7 a 1"), no_texture + "Invalid material id 'a' specified."},
      {TextureMaps("1 7 2"), no_texture + "Invalid sysvar id '' specified."},
      {TextureMaps("1 2147483648"), no_texture + "Invalid sysvar id '2147483648' specified."},
      {OneBody(include + "MATERIAL_TEXTURE_INDEX_MAPS {\n}\n"),
       "MATERIAL_TEXTURE_INDEX_MAPS must be specified before IMPORT."},
      {OneBody(include + "BLEND_EFFECT_MAP {\n}\n"),
       "BLEND_EFFECT_MAP must be specified before IMPORT."},
      {EffectMap(""), no_group},
      {EffectMap("SLIDERS {\na 1\n}\nSLIDER_GROUP: g"), no_group},
      {EffectMap("SLIDER_GROUP: a b"), bad_group + "|Slider group names cannot contain spaces."},
      {EffectMap("SLIDER_GROUP {\na\n}"), bad_group},
      {EffectMap("SLIDER_GROUP: \\\na#b"), bad_group},
      {Sliders("{ 1"), no_effect + "Unable to read slider name from SLIDERS section."},
      {Sliders("a 1 \\\n2 b#c 3"), no_effect + "Unable to read slider name from SLIDERS section."},
      {Sliders("a 1 b 2x"), no_effect + "Unable to read sysvar id from SLIDERS section."},
      {Sliders("a -3"), no_effect + "Invalid sysvar id '-3' specified."},
      {Sliders("a 1 b 2 a 3"),
       no_effect + "Slider a appears multiple times with different mappings."},
      {EffectMap("S: x"), no_effect + "Unrecognized key word \"S\" in BLEND_EFFECT_MAP section."},
      {IncludeBlock(""), no_include + "No FILE_NAME specified."},
      {IncludeBlock("FILE_NAME:"), no_include + "Invalid value for FILE_NAME."},
      {IncludeBlock("FILE_NAME: a\\\nb"), no_include + "Invalid value for FILE_NAME."},
      {IncludeBlock("BODY_ID_OFFSET: 1x"), no_include + "Invalid value for BODY_ID_OFFSET."},
      {IncludeBlock("SYSTEM_VARIABLE_ID_OFFSET {\n1\n}"),
       no_include + "Invalid value for SYSTEM_VARIABLE_ID_OFFSET."},
      {IncludeBlock("FILE: a"), no_include + "Unrecognized key word \"FILE\"."},
      {IncludeBlock("a"), no_include + "No ':' or '{' following tag 'a'."},
  };
  for (const ErrorCase& record : BodyMapErrors()) {
    cases.push_back({MappingText(6, 1, record.text), no_map + "0.|" + record.lines});
  }
  for (ErrorCase& c : cases) c.lines.insert(0, "Unable to read file.|");
  return cases;
}
