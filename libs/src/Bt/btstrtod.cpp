#include "btstrtod.h"

#include <clocale>
#include <cstdlib>

double BtStrToD(const char* text, char** end) {
  static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text, end, classic);
}
