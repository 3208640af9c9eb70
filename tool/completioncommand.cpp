// "completion": scripts with which a shell completes the command lines of both programs, made from
// the tables of their options.
#include <algorithm>
#include <iostream>
#include <map>
#include <string>
#include <string_view>

#include "arguments.h"
#include "options.h"

namespace {

// The name of an argument that is offered: the long one where there are two.
std::string_view OfferedName(const Argument& argument) {
  const std::string_view name = argument.name;
  return name.substr(name.find(',') == std::string_view::npos ? 0 : name.find(',') + 1);
}

bool IsOption(const Argument& argument) { return argument.name[0] == '-'; }

// The word that stands for a command behind the program: its name or that of its group.
std::string_view FirstWord(const Command& command) {
  const std::string_view name = command.name;
  return name.substr(0, name.find(' '));
}

// The word behind that of the group; empty for a command without one.
std::string_view SecondWord(const Command& command) {
  const std::string_view name = command.name;
  const std::size_t blank = name.find(' ');
  return blank == std::string_view::npos ? std::string_view() : name.substr(blank + 1);
}

// Calls visit(group, commands in it) for every group, the commands between blanks.
template <class Visit>
void ForEachGroup(Visit visit) {
  std::map<std::string_view, std::string> groups;
  for (const Command& command : Commands()) {
    if (SecondWord(command).empty()) continue;
    std::string& words = groups[FirstWord(command)];
    words += (words.empty() ? "" : " ") + std::string(SecondWord(command));
  }
  for (const auto& [group, words] : groups) visit(group, words);
}

std::string OptionsOf(const Command& command) {
  std::string names = "--help";
  for (const Argument& argument : ArgumentTable()) {
    if (!IsOption(argument) || !Takes(command, argument)) continue;
    names += " ";
    names += OfferedName(argument);
  }
  return names;
}

void PrintBashInfo(std::ostream& os) {
  std::string commands = "--help --version";
  std::string_view last;
  for (const Command& command : Commands()) {
    if (FirstWord(command) == last) continue;  // the commands of a group stand together
    last = FirstWord(command);
    commands += " " + std::string(last);
  }
  os << "_kestrix_tool() {\n"
        "  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
        "  local command=${COMP_WORDS[1]} words=\n"
        "  COMPREPLY=()\n"
        "  if ((COMP_CWORD == 1)); then\n"
        "    words='"
     << commands
     << "'\n"
        "  fi\n"
        "  case $command in\n";
  ForEachGroup([&os](std::string_view group, const std::string& words) {
    os << "    " << group << ") if ((COMP_CWORD == 2)); then words='" << words
       << "'; else command+=-${COMP_WORDS[2]}; fi ;;\n";
  });
  os << "  esac\n"
        "  if [[ -z $words ]]; then\n"
        "    case $command/$before in\n";
  for (const Command& command : Commands()) {
    for (const Argument& argument : ArgumentTable()) {
      if (!Takes(command, argument) || argument.choices == nullptr) continue;
      os << "      " << KeyOf(command) << "/"
         << (IsOption(argument) ? OfferedName(argument) : std::string_view("*")) << ") words='"
         << argument.choices << "' ;;\n";
    }
  }
  os << "    esac\n"
        "    if [[ -z $words && $current == -* ]]; then\n"
        "      case $command in\n";
  for (const Command& command : Commands()) {
    os << "        " << KeyOf(command) << ") words='" << OptionsOf(command) << "' ;;\n";
  }
  os << "      esac\n"
        "    fi\n"
        "  fi\n"
        "  [[ -z $words ]] || mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
        "}\n"
        "complete -o default -F _kestrix_tool kestrix-tool\n";
}

void PrintBashKestrix(std::ostream& os) {
  std::string names;
  for (const OptionText& option : OptionTexts()) {
    names += (names.empty() ? "" : " ") + std::string(option.name);
  }
  os << "_kestrix() {\n"
        "  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words=\n"
        "  COMPREPLY=()\n"
        "  case $before in\n";
  for (const OptionText& option : OptionTexts()) {
    const char* values = option.choices != nullptr ? option.choices : option.default_value;
    if (values != nullptr) os << "    " << option.name << ") words='" << values << "' ;;\n";
  }
  os << "    *) [[ $current == -* ]] && words='" << names
     << "' ;;\n"
        "  esac\n"
        "  [[ -z $words ]] || mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
        "}\n"
        "complete -o default -F _kestrix kestrix\n";
}

// Text inside the brackets of an explanation.
std::string Explained(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':') result += '\\';
    result += c;
  }
  return result;
}

// One line of a call of _arguments.
void PrintZshOption(std::string_view name, bool repeats, std::string_view help,
                    std::string_view value, std::string_view choices, std::ostream& os) {
  os << " \\\n    '" << (repeats ? "*" : "") << name << "[" << Explained(help) << "]";
  if (!value.empty()) {
    os << ":" << Explained(value) << ":";
    if (choices.empty()) {
      os << "_files";
    } else {
      os << "(" << choices << ")";
    }
  }
  os << "'";
}

void PrintZshKestrix(std::ostream& os) {
  os << "_kestrix() {\n  _arguments";
  for (const OptionText& option : OptionTexts()) {
    const char* values = option.choices != nullptr ? option.choices : option.default_value;
    PrintZshOption(option.name, false, option.help, option.value == nullptr ? "" : option.value,
                   values == nullptr ? "" : values, os);
  }
  os << " \\\n    '1:input mdl:_files' '2:input dof:_files' '3:output fbx:_files'\n}\n";
}

// The commands and what they do, of a group its first word.
void PrintZshCommands(std::ostream& os) {
  const char* separator = "";
  std::string_view last;
  for (const Command& command : Commands()) {
    const bool is_grouped = !SecondWord(command).empty();
    if (is_grouped && FirstWord(command) == last) continue;
    last = FirstWord(command);
    os << separator << last << "\\:\"" << (is_grouped ? "see its help" : command.help) << "\"";
    separator = " ";
  }
}

void PrintZshGroup(std::string_view group, const std::string& names, std::ostream& os) {
  os << "  if [[ $command == " << group
     << " ]]; then\n"
        "    if ((CURRENT == 2)); then compadd "
     << names
     << "; return; fi\n"
        "    command+=-$words[2]\n"
        "    words=($words[1] ${words[3,-1]})\n"
        "    ((CURRENT -= 1))\n"
        "  fi\n";
}

void PrintZshArguments(const Command& command, std::ostream& os) {
  os << "  " << KeyOf(command) << ") _arguments '--help[print help]'";
  std::string positional = "_files";
  for (const Argument& argument : ArgumentTable()) {
    if (!Takes(command, argument)) continue;
    const std::string choices = argument.choices == nullptr ? "" : argument.choices;
    if (IsOption(argument)) {
      PrintZshOption(OfferedName(argument), argument.max_count < 0, argument.help,
                     argument.value == nullptr ? "" : argument.value, choices, os);
    } else if (!choices.empty()) {
      positional = "(" + choices + ")";
    }
  }
  os << " \\\n    '*:file:" << positional << "' ;;\n";
}

void PrintZshInfo(std::ostream& os) {
  os << "_kestrix_tool() {\n"
        "  local context state state_descr line\n"
        "  typeset -A opt_args\n"
        "  _arguments -C \\\n"
        "    '--help[print help]' '--version[print the version]' \\\n"
        "    '1:command:((";
  PrintZshCommands(os);
  os << "))' \\\n    '*::: :->rest'\n"
        "  [[ $state == rest ]] || return\n"
        "  words=($line[1] $words)\n"
        "  ((CURRENT += 1))\n"
        "  local command=$line[1]\n";
  ForEachGroup(
      [&os](std::string_view group, const std::string& names) { PrintZshGroup(group, names, os); });
  os << "  case $command in\n";
  for (const Command& command : Commands()) PrintZshArguments(command, os);
  os << "  esac\n}\n";
}

struct Script {
  std::string_view shell;
  std::string_view program;
  void (*print)(std::ostream& os);
};
constexpr Script kScripts[] = {
    {"bash", "kestrix", PrintBashKestrix},
    {"bash", "kestrix-tool", PrintBashInfo},
    {"zsh", "kestrix", PrintZshKestrix},
    {"zsh", "kestrix-tool", PrintZshInfo},
};

// A file of zsh's is run when its program is completed for the first time; other scripts are read
// when the shell starts, and say which function is whose.
void PrintZsh(const Script& script, bool alone) {
  const std::string function = script.program == "kestrix" ? "_kestrix" : "_kestrix_tool";
  if (alone) std::cout << "#compdef " << script.program << "\n";
  script.print(std::cout);
  if (alone) {
    std::cout << function << " \"$@\"\n";
  } else {
    std::cout << "compdef " << function << " " << script.program << "\n";
  }
}

}  // namespace

int RunCompletion(const Arguments& arguments) {
  const std::string& shell = arguments.files[0];
  const std::string program = arguments.files.size() > 1 ? arguments.files[1] : "";
  bool printed = false;
  for (const Script& script : kScripts) {
    if (script.shell != shell || (!program.empty() && script.program != program)) continue;
    if (shell == "zsh") {
      PrintZsh(script, !program.empty());
    } else {
      script.print(std::cout);
    }
    printed = true;
  }
  if (printed) return kExitGood;
  std::cerr << "kestrix-tool: completion: expecting bash or zsh, then kestrix or kestrix-tool\n";
  return kExitTrouble;
}
