#include "arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <map>
#include <string_view>

#ifndef KESTRIX_VERSION
#error "KESTRIX_VERSION is set by the build"
#endif

// The commands, each in its own file, which only the table knows.
int RunInfo(const Arguments& arguments);
int RunCheck(const Arguments& arguments);
int RunDiff(const Arguments& arguments);
int RunDeps(const Arguments& arguments);
int RunList(const Arguments& arguments);
int RunConvertModel(const Arguments& arguments);
int RunPicture(const Arguments& arguments);
int RunView(const Arguments& arguments);
int RunMotionRom(const Arguments& arguments);
int RunMotionInfo(const Arguments& arguments);
int RunMotionResample(const Arguments& arguments);
int RunMotionCut(const Arguments& arguments);
int RunAnimate(const Arguments& arguments);
int RunCompletion(const Arguments& arguments);

namespace {

constexpr Command kCommands[] = {
    {"info", "tell what is in model, mapping and FBX files", RunInfo},
    {"check", "find what would make a conversion fail or look wrong", RunCheck},
    {"diff", "tell what differs between two models, mappings or FBX files", RunDiff},
    {"deps", "list the files that a conversion reads", RunDeps},
    {"list", "list the characters of a folder or a table", RunList},
    {"convert-model", "write a model in a dialect, edited if wanted", RunConvertModel},
    {"picture", "draw skeleton and outline of a model as an SVG file", RunPicture},
    {"view", "write a page that shows a model in a browser and moves it", RunView},
    {"motion rom", "write a test in which each variable of a mapping swings in turn", RunMotionRom},
    {"motion info", "tell what is in a motion file", RunMotionInfo},
    {"motion resample", "write motion at another frame rate", RunMotionResample},
    {"motion cut", "write a part of a motion", RunMotionCut},
    {"animate", "convert a model and put captured motion on it", RunAnimate},
    {"completion", "print completion scripts for a shell", RunCompletion},
};

constexpr Argument kArguments[] = {
    {" info ", "FILE", "FILE", nullptr, &Arguments::files, 1, -1,
     "models, mappings or FBX files; or a folder or a table (.csv) of characters"},
    {" check ", "FILE", "MODEL [DOF]", nullptr, &Arguments::files, 1, 2,
     "a model and, if wanted, its mapping; or a folder or a table (.csv) of characters"},
    {" deps ", "FILE", "MODEL [DOF]", nullptr, &Arguments::files, 1, 2,
     "a model and, if wanted, its mapping"},
    {" list ", "FILE", "FOLDER|TABLE", nullptr, &Arguments::files, 1, 1,
     "a folder, or a table (.csv) of characters"},
    {" diff ", "FILE", "A B", nullptr, &Arguments::files, 2, 2,
     "two models, two mappings, or two folders or tables"},
    {" convert-model ", "FILE", "IN OUT", nullptr, &Arguments::files, 2, 2,
     "the model to read and the model to write"},
    {" picture ", "FILE", "MODEL", nullptr, &Arguments::files, 1, 1, "the model to draw"},
    {" view ", "FILE", "MODEL [DOF [MOTION...]]", nullptr, &Arguments::files, 1, -1,
     "the model to show and, if wanted, its mapping and motion for it"},
    {" motion-rom ", "FILE", "MODEL DOF", nullptr, &Arguments::files, 2, 2,
     "a model and its mapping"},
    {" motion-info motion-resample motion-cut ", "FILE", "MOTION", nullptr, &Arguments::files, 1, 1,
     "the motion file to read"},
    {" animate ", "FILE", "MODEL DOF [MOTION...]", nullptr, &Arguments::files, 2, -1,
     "a model, its mapping, and motion files, each of which becomes a take"},
    {" completion ", "FILE", "SHELL [PROGRAM]", "bash zsh kestrix kestrix-tool", &Arguments::files,
     1, 2, "bash or zsh; kestrix or kestrix-tool, or neither for both"},
    {" info check diff deps list motion-info ", "--json", nullptr, nullptr, &Arguments::json, 0, 0,
     "print JSON instead of text"},
    {" check ", "--all", nullptr, nullptr, &Arguments::all, 0, 0,
     "print every finding on a line of its own"},
    {" check ", "--only", "CODE", nullptr, &Arguments::only, 0, -1,
     "look for findings of this code only; may be repeated"},
    {" check ", "--ignore", "CODE", nullptr, &Arguments::ignore, 0, -1,
     "pass over findings of this code; may be repeated"},
    {" check ", "--strict", nullptr, nullptr, &Arguments::strict, 0, 0,
     "warnings fail as errors do"},
    {" info check diff ", "--jobs", "N", nullptr, &Arguments::jobs, 0, 1,
     "of a folder or a table: so many at once (default: one on each processor)"},
    {" info check diff ", "--quiet", nullptr, nullptr, &Arguments::quiet, 0, 0,
     "of a folder or a table: print a table of what is not good only"},
    {" info check diff ", "--verbose", nullptr, nullptr, &Arguments::verbose, 0, 0,
     "of a folder or a table: print what there is to say of each"},
    {" deps ", "--depfile", "TARGET", nullptr, &Arguments::depfile, 0, 1,
     "print a rule for make or ninja: TARGET depends on the files"},
    {" info ", "--tree", nullptr, nullptr, &Arguments::tree, 0, 0,
     "print the tree of the bodies only"},
    {" info picture ", "--dof", "FILE", nullptr, &Arguments::dof, 0, 1,
     "the mapping of the models: adds rotation orders"},
    {" diff ", "--tolerance", "T", nullptr, &Arguments::tolerance, 0, 1,
     "numbers that differ by no more are equal (default: 0.0001)"},
    {" picture ", "-o,--output", "FILE", nullptr, &Arguments::output, 1, 1,
     "the SVG file to write"},
    {" view ", "-o,--output", "FILE", nullptr, &Arguments::output, 1, 1,
     "the page to write, an HTML file"},
    {" motion-info ", "--dof", "FILE", nullptr, &Arguments::dof, 0, 1,
     "the mapping: adds what the variables drive, and which are missing"},
    {" motion-rom motion-resample motion-cut ", "-o,--output", "FILE", nullptr, &Arguments::output,
     1, 1, "the motion file to write"},
    {" motion-rom ", "--swing", "DEGREES", nullptr, &Arguments::swing, 0, 1,
     "how far bodies turn to either side (default: 45)"},
    {" motion-rom ", "--distance", "D", nullptr, &Arguments::distance, 0, 1,
     "how far bodies move to either side (default: a tenth of the model's size)"},
    {" motion-rom ", "--seconds", "S", nullptr, &Arguments::seconds, 0, 1,
     "how long each variable swings (default: 2)"},
    {" motion-rom ", "--rate", "FPS", nullptr, &Arguments::new_rate, 0, 1,
     "frames per second (default: 30)"},
    {" motion-rom ", "--angles", "UNIT", "degrees radians", &Arguments::angles, 0, 1,
     "the unit of variables that turn: degrees (default) or radians"},
    {" motion-resample ", "--to", "FPS", nullptr, &Arguments::new_rate, 1, 1,
     "frames per second to write"},
    {" motion-cut ", "--from", "S", nullptr, &Arguments::from, 0, 1,
     "the first second to keep (default: the start)"},
    {" motion-cut ", "--to", "S", nullptr, &Arguments::to, 0, 1,
     "the last second to keep (default: the end)"},
    {" motion-info motion-resample motion-cut ", "--rate", "FPS", nullptr, &Arguments::rate, 0, 1,
     "frames per second of the file (default: what its times tell, or 30)"},
    {" animate ", "-o,--output", "FILE", nullptr, &Arguments::output, 1, 1,
     "the FBX file to write"},
    {" animate check info view ", "--scale-factor", "F", nullptr, &Arguments::scale_factor, 0, 1,
     "multiplies all lengths (default: 2.54)"},
    {" animate view ", "--mesh-per-body", nullptr, nullptr, &Arguments::mesh_per_body, 0, 0,
     "one mesh per body, not one per chain of bodies"},
    {" animate ", "--mb-version", "V", nullptr, &Arguments::mb_version, 0, 1,
     "MotionBuilder release to write for, as kestrix has it (default: 2011)"},
    {" animate view ", "--angles", "UNIT", "degrees radians", &Arguments::angles, 0, 1,
     "the unit of variables that turn: degrees (default) or radians"},
    {" animate view ", "--lengths", "UNIT", "millimeters centimeters meters inches feet",
     &Arguments::lengths, 0, 1, "the unit of variables that move (default: that of the model)"},
    {" animate view ", "--rate", "FPS", nullptr, &Arguments::rate, 0, 1,
     "frames per second of the motion files (default: what their times tell, or 30)"},
    {" convert-model ", "--to", "DIALECT", "document legacy", &Arguments::dialect, 0, 1,
     "the dialect to write: document (default) or legacy"},
    {" convert-model ", "--add", "FILE[,OFFSET[,SUFFIX]]", nullptr, &Arguments::add, 0, -1,
     "add another model, its body ids moved by OFFSET, SUFFIX behind its body names"},
    {" convert-model ", "--dof", "IN=OUT", nullptr, &Arguments::dof, 0, 1,
     "a mapping that follows removals and other ids, and the mapping to write"},
    {" convert-model ", "--add-dof", "FILE", nullptr, &Arguments::add_dofs, 0, -1,
     "add the mapping of a model that --add names: the first that of the first, and so on"},
    {" convert-model ", "--remove-body", "NAME|ID", nullptr, &Arguments::remove_bodies, 0, -1,
     "take a body out; its children go to its parent"},
    {" convert-model ", "--renumber", "OLD=NEW", nullptr, &Arguments::renumber, 0, -1,
     "give a body another id, or all bodies the ids 1, 2, 3 ... with the word all"},
    {" convert-model ", "--remove-bones", nullptr, nullptr, &Arguments::remove_bones, 0, 0,
     "leave out the bones"},
    {" convert-model ", "--remove-unused-materials", nullptr, nullptr,
     &Arguments::remove_unused_materials, 0, 0, "leave out materials that nothing uses"},
    {" convert-model ", "--triangulate", nullptr, nullptr, &Arguments::triangulate, 0, 0,
     "cut polygons into triangles"},
};

bool IsPositional(const Argument& argument) { return argument.name[0] != '-'; }

// Makes the option of an argument, bound to its place in `values`.
void AddArgument(CLI::App* app, const Argument& argument, Arguments* values) {
  CLI::Option* option = nullptr;
  const std::string name = IsPositional(argument) ? std::string("files") : argument.name;
  std::visit(
      [&](auto member) {
        auto& value = values->*member;
        if constexpr (std::is_same_v<std::decay_t<decltype(value)>, bool>) {
          option = app->add_flag(name, value, argument.help);
        } else {
          option = app->add_option(name, value, argument.help);
        }
      },
      argument.target);
  if (argument.value == nullptr) return;
  option->type_name(argument.value);
  if (IsPositional(argument)) {
    option->type_name("")->option_text(argument.value);
    if (argument.max_count != 1) option->expected(argument.min_count, argument.max_count);
  } else if (argument.max_count < 0) {
    // One value each time: the files that follow are not meant.
    option->expected(1)->allow_extra_args(false)->multi_option_policy(
        CLI::MultiOptionPolicy::TakeAll);
  }
  if (argument.min_count > 0) option->required();
  if (argument.choices != nullptr) {
    std::vector<std::string> choices;
    std::istringstream words(argument.choices);
    for (std::string word; words >> word;) choices.push_back(word);
    option->check(CLI::IsMember(choices).description(""));
  }
}

// Makes the command, and the group that it belongs to where it is the group's first.
CLI::App* AddCommand(CLI::App* app, std::map<std::string, CLI::App*>* groups,
                     const Command& command) {
  const std::string_view name = command.name;
  const std::size_t blank = name.find(' ');
  if (blank == std::string_view::npos) return app->add_subcommand(command.name, command.help);
  const std::string group(name.substr(0, blank));
  CLI::App*& parent = (*groups)[group];
  if (parent == nullptr) {
    parent = app->add_subcommand(group, "work on " + group + " files: see its help");
    parent->require_subcommand(1);
  }
  return parent->add_subcommand(std::string(name.substr(blank + 1)), command.help);
}

// Tells why nothing is run, or what was asked for, and answers the exit status. Of a word that
// nothing takes the parser says only that something else is missing.
int Tell(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = app.remaining(true);
  if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::RequiredError) || unknown.empty()) {
    return app.exit(error) == 0 ? kExitGood : kExitTrouble;
  }
  app.exit(CLI::ExtrasError({unknown.front()}));
  return kExitTrouble;
}

}  // namespace

std::span<const Command> Commands() { return kCommands; }
std::span<const Argument> ArgumentTable() { return kArguments; }

std::string KeyOf(const Command& command) {
  std::string key = command.name;
  std::replace(key.begin(), key.end(), ' ', '-');
  return key;
}

bool Takes(const Command& command, const Argument& argument) {
  return std::string_view(argument.commands).find(" " + KeyOf(command) + " ") !=
         std::string_view::npos;
}

int RunCommandLine(int argc, char** argv) {
  CLI::App app("Looks into the files of kestrix: models, mappings, and the FBX files it writes.",
               "kestrix-tool");
  app.set_version_flag("--version", "kestrix-tool " KESTRIX_VERSION);
  app.require_subcommand(1);
  app.footer("Exit status: 0 for good, 1 for errors or differences found, 2 for trouble.");
  Arguments values;
  const Command* chosen = nullptr;
  std::map<std::string, CLI::App*> groups;
  for (const Command& command : kCommands) {
    CLI::App* sub = AddCommand(&app, &groups, command);
    sub->callback([&chosen, &command] { chosen = &command; });
    for (const Argument& argument : kArguments) {
      if (Takes(command, argument)) AddArgument(sub, argument, &values);
    }
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return Tell(app, error);
  }
  return chosen == nullptr ? kExitTrouble : chosen->run(values);
}
