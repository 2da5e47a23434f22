#include <cctype>

#include "tools/reference/command_text.h"

namespace depth_io::tools {
namespace {

/// As text: nothing in it is a request of the formatter, and a "-" can be copied into a shell.
std::string plain(std::string text) {
  text = replace_all(std::move(text), "\\", "\\e");
  text = replace_all(std::move(text), "-", "\\-");
  if (text.starts_with('.') || text.starts_with('\'')) text.insert(0, "\\&");
  return replace_all(std::move(text), "\n", "\n.br\n");
}

std::string bold(const std::string& text) { return "\\fB" + plain(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + plain(text) + "\\fR"; }

std::string value_of(const ArgumentText& argument) {
  if (argument.value.empty()) return {};
  if (argument.choices.empty()) return " " + italic(argument.value);
  std::string choices;
  for (const std::string& choice : argument.choices) {
    choices += (choices.empty() ? " " : "|") + bold(choice);
  }
  return choices;
}

std::string argument_paragraph(const ArgumentText& argument) {
  std::string names;
  for (const std::string& name : argument.names) {
    names += (names.empty() ? "" : ", ") + (argument.is_positional ? italic(name) : bold(name));
  }
  std::string text = ".TP\n" + names + (argument.is_positional ? "" : value_of(argument)) + "\n" +
                     plain(argument.description);
  if (!argument.by_default.empty()) text += " (default: " + plain(argument.by_default) + ")";
  if (argument.is_required && !argument.is_positional) text += " (required)";
  return text + "\n";
}

std::string synopsis(const CommandText& command) {
  std::string text = bold("depthrw " + command.name);
  for (const ArgumentText& argument : command.arguments) {
    if (argument.is_positional) {
      const std::string name = italic(argument.names.front());
      text += " " + (argument.is_required ? name : "[" + name + "]");
    } else if (argument.is_required) {
      text += " " + bold(argument.names.back()) + value_of(argument);
    }
  }
  return text + " [" + italic("OPTION") + "...]";
}

/// "Does this." as it stands behind a name: "does this".
std::string as_whatis(std::string description) {
  description.front() =
      static_cast<char>(std::tolower(static_cast<unsigned char>(description.front())));
  if (description.ends_with('.')) description.pop_back();
  return description;
}

}  // namespace

std::string manual_page(const ProgramText& text) {
  std::string page = ".\\\" Made from the program's argument definitions.\n";
  page += ".TH DEPTHRW 1 \"\" \"" + plain(text.version) + "\" \"User Commands\"\n";
  page += ".SH NAME\ndepthrw \\- " + plain(as_whatis(text.program.description)) + "\n";
  page += ".SH SYNOPSIS\n" + bold("depthrw") + " " + italic("COMMAND") + " [" + italic("OPTION") +
          "...]\n";
  page += ".SH DESCRIPTION\n" + plain(text.program.description) +
          " Data go to standard output, messages and progress to standard error. The program never "
          "waits for a key.\n";
  page += ".SH OPTIONS\n";
  for (const ArgumentText& option : options_of(text.program)) page += argument_paragraph(option);
  page += ".SH COMMANDS\n";
  for (const CommandText& command : text.commands) {
    page += ".SS " + synopsis(command) + "\n" + plain(command.description) + ".\n";
    for (const ArgumentText& argument : command.arguments) page += argument_paragraph(argument);
  }
  page += ".SH EXIT STATUS\n";
  for (const char* status : {"0\nGood.", "1\nFailed.", "2\nWrong arguments.", "3\nPartly done."}) {
    page += std::string(".TP\n") + status + "\n";
  }
  return page;
}

}  // namespace depth_io::tools
