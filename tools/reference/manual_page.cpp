#include <cctype>
#include <cstddef>
#include <string>

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

std::string sentence(const std::string& text) {
  return plain(text) + (text.ends_with('?') || text.ends_with('.') ? "" : ".");
}

/// A term and what it means.
struct Entry {
  const char* term;
  const char* meaning;
};

constexpr Entry kStatuses[] = {
    {"0", "Good."},
    {"1", "Failed."},
    {"2", "Wrong arguments."},
    {"3", "Partly done: ended early, or something was found."},
};
constexpr Entry kSignals[] = {
    {"SIGINT, SIGTERM, SIGHUP",
     "End a recording in order. SIGHUP does not when it was ignored "
     "before, as under nohup."},
    {"SIGUSR1", "With --trigger signal: records the time around it."},
};
constexpr Entry kExamples[] = {
    {"depthrw record --out DIR --source openni:camera.xml --append",
     "Records a camera into a tree of day, hour and minute folders, after what is there."},
    {"depthrw record --out DIR --source openni:camera.xml --trigger signal --before 10",
     "Keeps ten seconds in memory; kill -USR1 writes them, and the next ones."},
    {"depthrw verify DIR --quarantine OUT", "Looks at every frame, and moves damaged ones aside."},
    {"depthrw export DIR --to tum --out OUT", "Takes the recording to other programs."},
};

template <std::size_t kCount>
std::string section(const char* title, const Entry (&entries)[kCount]) {
  std::string text = std::string(".SH ") + title + "\n";
  for (const Entry& entry : entries) {
    text += ".TP\n" + bold(entry.term) + "\n" + plain(entry.meaning) + "\n";
  }
  return text;
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
    page += ".SS " + synopsis(command) + "\n" + sentence(command.description) + "\n";
    for (const ArgumentText& argument : command.arguments) page += argument_paragraph(argument);
  }
  page += section("EXIT STATUS", kStatuses);
  page += section("SIGNALS", kSignals);
  page += section("EXAMPLES", kExamples);
  return page;
}

}  // namespace depth_io::tools
