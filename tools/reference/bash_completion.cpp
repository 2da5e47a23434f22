#include "tools/reference/command_text.h"

namespace depth_io::tools {
namespace {

std::string joined(const std::vector<std::string>& words, const std::string& between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

/// A branch for the options of a command that take values: their choices, or any file.
std::string value_branches(const CommandText& command) {
  std::string text;
  for (const ArgumentText& option : options_of(command)) {
    if (option.value.empty()) continue;
    std::vector<std::string> cases;
    for (const std::string& name : option.names) {
      cases.push_back("'" + command.name + " " + name + "'");
    }
    text += "    " + joined(cases, " | ") + ")\n";
    if (option.choices.empty()) {
      text += "      return 0\n";
    } else {
      text += "      words='" + joined(option.choices, " ") + "'\n";
    }
    text += "      ;;\n";
  }
  return text;
}

}  // namespace

std::string bash_completion(const ProgramText& text) {
  std::string script =
      "# Completion of depthrw for bash; made from the program's argument definitions.\n"
      "# What is completed to nothing here is completed to names of files.\n"
      "_depthrw() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} words=\n"
      "  local previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
      "  COMPREPLY=()\n";
  std::string commands;
  for (const CommandText& command : text.commands) commands += command.name + " ";
  script += "  if ((COMP_CWORD == 1)); then\n    words='" + commands +
            names_of(options_of(text.program)) + "'\n  else\n    case \"$command $previous\" in\n";
  for (const CommandText& command : text.commands) script += value_branches(command);
  script +=
      "    esac\n"
      "    if [[ -z $words && $current == -* ]]; then\n"
      "      case $command in\n";
  for (const CommandText& command : text.commands) {
    script += "        " + command.name + ") words='" + names_of(options_of(command)) + "' ;;\n";
  }
  script +=
      "      esac\n"
      "    fi\n"
      "  fi\n"
      "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
      "}\n"
      "complete -o bashdefault -o default -F _depthrw depthrw\n";
  return script;
}

}  // namespace depth_io::tools
