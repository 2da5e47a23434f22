#include "tools/reference/command_text.h"

namespace depth_io::tools {
namespace {

std::string quoted(std::string text) {
  text = replace_all(std::move(text), "\\", "\\\\");
  return "'" + replace_all(std::move(text), "'", "\\'") + "'";
}

std::string names_as_switches(const ArgumentText& option) {
  std::string text;
  for (const std::string& name : option.names) {
    text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  return text;
}

std::string option_line(const std::string& condition, const ArgumentText& option) {
  std::string text = "complete -c depthrw -n " + quoted(condition) + names_as_switches(option);
  if (!option.choices.empty()) {
    std::string choices;
    for (const std::string& choice : option.choices)
      choices += (choices.empty() ? "" : " ") + choice;
    text += " -x -a " + quoted(choices);
  } else if (!option.value.empty()) {
    text += " -r";
  }
  return text + " -d " + quoted(option.description) + "\n";
}

}  // namespace

std::string fish_completion(const ProgramText& text) {
  std::string script =
      "# Completion of depthrw for fish; made from the program's argument definitions.\n";
  for (const ArgumentText& option : options_of(text.program)) {
    script += option_line("__fish_use_subcommand", option);
  }
  for (const CommandText& command : text.commands) {
    script += "complete -c depthrw -f -n '__fish_use_subcommand' -a " + command.name + " -d " +
              quoted(command.description) + "\n";
    for (const ArgumentText& option : options_of(command)) {
      script += option_line("__fish_seen_subcommand_from " + command.name, option);
    }
  }
  return script;
}

}  // namespace depth_io::tools
