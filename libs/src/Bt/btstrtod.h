// Text to numbers by the rules of the "C" locale.
#pragma once

// std::strtod with a point before the decimals, whatever locale the process has chosen.
double BtStrToD(const char* text, char** end);
