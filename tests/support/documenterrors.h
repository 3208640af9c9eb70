// What the model documents of tests are made of.
#pragma once

#include <string>
#include <vector>

#include "support/errorcases.h"
#include "support/printed.h"

// The two header lines.
inline const std::string kDocumentHeader = "Zov Graphic Model File\nv2.00\n";

// A BODY section with `more` lines before its coordinate system.
inline std::string DocumentBody(const std::string& name, const std::string& parent,
                                const std::string& more = "") {
  return "BODY {\nNAME: " + name + "\n" + more +
         "COORDINATE_SYSTEM {\nTRANSLATION: 1 2 3\nROTATION: 0 0 0 X Y Z\n}\n" +
         "PARENT_NAME: " + parent + "\n}\n";
}

// A triangle of the body, on vertices 1 to 3 of four at (0, 0), (1, 0), (1, 1) and, again, (0, 0),
// and two texture coordinates; `effects` goes into the vertex set, `lists` into the material group.
inline std::string DocumentShape(const std::string& body, const std::string& material,
                                 const std::string& effects = "",
                                 const std::string& lists = "POLYGONS {\n1 2 3\n}\n") {
  return "VERTICES {\nNAME: " + body + "_v\nCOORDINATES {\n0 0 0\n1 0 0\n1 1 0\n0 0 -0.0\n}\n" +
         "EFFECTS {\n" + effects + "}\n}\nGEOMETRY {\nBODY: " + body + "\nVERTICES: " + body +
         "_v\nTEXTURE_COORDINATES {\n0 0\n1 1\n}\nMATERIAL_GROUP {\nMATERIAL: " + material + "\n" +
         lists + "}\n}\n";
}
