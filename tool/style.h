// Text for people: colours where a terminal shows them, numbers without noise.
#pragma once

#include <string>
#include <string_view>

enum class Style { Plain, Title, Faint, Good, Warning, Error };

// Whether standard output (1) or the stream of errors (2) is shown on a terminal.
bool IsOnTerminal(int stream);
// Keeps these answers from here on: what processes of this one print into files, it prints itself.
void KeepTerminals();
// True when standard output is a terminal and NO_COLOR is not set.
bool UseColour();
// `text` with control characters replaced, so that it cannot steer a terminal or break a line.
std::string Printable(std::string_view text);
// `text`, coloured if wanted. Control characters in it are replaced.
std::string Styled(Style style, std::string_view text);
// `text` without its colours.
std::string Uncoloured(std::string_view text);
// ASCII letters in lower case.
std::string LowerCase(std::string_view text);
// With as many digits as people want to read.
std::string Short(double number);
// "1 body", "2 bodies".
std::string Counted(long long count, std::string_view one, std::string_view many);
// Filled with blanks to a width in characters, not bytes.
std::string Padded(std::string text, std::size_t width);
std::size_t Width(std::string_view text);
