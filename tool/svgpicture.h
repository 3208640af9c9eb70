// A model as a drawing: skeleton and outline from three sides, with the names of the bodies.
#pragma once

#include <iosfwd>

class BaModel;
class BaUnlockedMapping;

// Writes an SVG file. With a mapping, bodies that it does not name are shown hollow, and names are
// followed by their rotation order. The same model gives the same bytes.
void PrintSvg(const BaModel& model, const BaUnlockedMapping* mapping, std::ostream& os);
