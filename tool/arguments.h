// The command line of kestrix-tool: one table of commands and one of arguments, from which the
// parser, the help, the completions and the checks of the manual are made.
#pragma once

#include <span>
#include <string>
#include <variant>
#include <vector>

// What the user asks for. A command looks at its own fields only.
struct Arguments {
  std::vector<std::string> files;
  std::string dof;
  std::string output;
  bool json = false;
  bool tree = false;
  bool quiet = false;
  bool verbose = false;
  double jobs = 0;  // at once; 0 for one on each processor
  std::string depfile;
  double tolerance = 1e-4;
  std::string dialect = "document";
  std::vector<std::string> add;
  std::vector<std::string> add_dofs;
  std::vector<std::string> remove_bodies;
  std::vector<std::string> renumber;
  bool remove_bones = false;
  bool remove_unused_materials = false;
  bool triangulate = false;
  std::string angles = "degrees";
  double rate = 0;       // 0 for what the times tell
  double new_rate = 30;  // of motion that is made
  double swing = 45;     // degrees to either side
  double distance = 0;   // to either side in the model's unit; 0 for a part of its size
  double seconds = 2;    // that a variable swings
  double from = -1e300;  // seconds
  double to = 1e300;
  double scale_factor = 2.54;
  bool mesh_per_body = false;
  std::string mb_version = "2011";
  std::string lengths;  // the unit; empty for the model's
  bool all = false;
  bool strict = false;
  std::vector<std::string> only;    // codes
  std::vector<std::string> ignore;  // codes
};

// Exit statuses that all commands share.
inline constexpr int kExitGood = 0;     // done, and nothing to complain of
inline constexpr int kExitFound = 1;    // errors or differences were found
inline constexpr int kExitTrouble = 2;  // a file or the command line is not what it should be

struct Command {
  const char* name;  // one word, or that of a group and one in it
  const char* help;
  int (*run)(const Arguments& arguments);
};

// Where the value of an argument goes.
using ArgumentTarget =
    std::variant<bool Arguments::*, double Arguments::*, std::string Arguments::*,
                 std::vector<std::string> Arguments::*>;

struct Argument {
  const char* commands;  // the keys of the commands that take it, between blanks
  const char* name;      // with dashes; without them for one that is known by its place
  const char* value;     // what stands for the value in the help, null for a flag
  const char* choices;   // the values there are, between blanks; null where anything goes
  ArgumentTarget target;
  int min_count;  // of files
  int max_count;  // -1 for any number
  const char* help;
};

[[nodiscard]] std::span<const Command> Commands();
[[nodiscard]] std::span<const Argument> ArgumentTable();
// The name of a command as one word, with a dash in place of the blank.
[[nodiscard]] std::string KeyOf(const Command& command);
// True when the command takes the argument.
[[nodiscard]] bool Takes(const Command& command, const Argument& argument);

// Parses the command line and runs the command; answers the exit status.
int RunCommandLine(int argc, char** argv);
