#include "tools/reference/command_text.h"

namespace depth_io::tools {
namespace {

/// As part of a specification between single quotes.
std::string quoted(std::string text) {
  text = replace_all(std::move(text), "\\", "\\\\");
  for (const char* special : {"[", "]", ":"}) {
    text = replace_all(std::move(text), special, std::string("\\") + special);
  }
  return replace_all(std::move(text), "'", "'\\''");
}

/// What a value is completed to.
std::string action_of(const ArgumentText& argument) {
  if (argument.choices.empty()) return "_files";
  std::string choices;
  for (const std::string& choice : argument.choices)
    choices += (choices.empty() ? "" : " ") + choice;
  return "(" + choices + ")";
}

std::string specifications(const CommandText& command) {
  std::string text;
  for (const ArgumentText& argument : command.arguments) {
    for (const std::string& name : argument.names) {
      text += " \\\n        '";
      if (argument.is_positional) {
        text += std::string(argument.is_required ? ":" : "::") + quoted(name) + ":_files'";
        continue;
      }
      text += name + "[" + quoted(argument.description) + "]";
      if (!argument.value.empty()) text += ":" + quoted(argument.value) + ":" + action_of(argument);
      text += "'";
    }
  }
  return text;
}

}  // namespace

std::string zsh_completion(const ProgramText& text) {
  std::string script =
      "#compdef depthrw\n"
      "# Completion of depthrw for zsh; made from the program's argument definitions.\n"
      "_depthrw() {\n"
      "  local curcontext=$curcontext state line\n"
      "  typeset -A opt_args\n"
      "  local -a commands=(\n";
  for (const CommandText& command : text.commands) {
    script += "    '" + quoted(command.name) + ":" + quoted(command.description) + "'\n";
  }
  script += "  )\n  _arguments -C" + specifications(text.program) +
            " \\\n        '1:command:->command' \\\n        '*::argument:->arguments' && return 0\n"
            "  case $state in\n"
            "    command) _describe command commands ;;\n"
            "    arguments)\n"
            "      case $line[1] in\n";
  for (const CommandText& command : text.commands) {
    script += "      " + command.name + ")\n        _arguments" + specifications(command) +
              "\n        ;;\n";
  }
  script +=
      "      esac\n"
      "      ;;\n"
      "  esac\n"
      "}\n"
      "_depthrw \"$@\"\n";
  return script;
}

}  // namespace depth_io::tools
