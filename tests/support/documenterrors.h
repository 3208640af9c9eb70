// Model documents of version 2.00 that must be refused, and what is printed about each.
#pragma once

#include <string>
#include <vector>

#include "support/printed.h"

// The two header lines.
inline const std::string kDocumentHeader = "Zov Graphic Model File\nv2.00\n";

// A BODY section with `more` lines before its coordinate system.
std::string DocumentBody(const std::string& name, const std::string& parent,
                         const std::string& more = "");
// A triangle of the body, on vertices 1 to 3 of four at (0, 0), (1, 0), (1, 1) and, again, (0, 0),
// and two texture coordinates; `effects` goes into the vertex set, `lists` into the material group.
std::string DocumentShape(const std::string& body, const std::string& material,
                          const std::string& effects = "",
                          const std::string& lists = "POLYGONS {\n1 2 3\n}\n");

// Whole files: bad items, bad sections of every kind, sections that do not fit together.
std::vector<ErrorCase> DocumentErrors();
