#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace depth_io::tools {

/// An option or a positional argument of a command, as texts.
struct ArgumentText {
  std::vector<std::string> names;  ///< -h and --help; of a positional one, its name alone
  bool is_positional = false;
  bool is_required = false;
  std::string value;                 ///< kind of its value, such as INT; empty: takes none
  std::vector<std::string> choices;  ///< all values, where they are few
  std::string by_default;
  std::string description;
};

/// A command of the program, or the program itself.
struct CommandText {
  std::string name;
  std::string description;
  std::vector<ArgumentText> arguments;
};

/// The whole program: itself with what stands before a command, and its commands.
struct ProgramText {
  CommandText program;
  std::string version;
  std::vector<CommandText> commands;
};

/// Everything that the program's argument definitions say.
ProgramText describe(const CLI::App& program);

/// Only `arguments` with names that begin with "-".
std::vector<ArgumentText> options_of(const CommandText& command);

/// All their names, in one line.
std::string names_of(const std::vector<ArgumentText>& arguments);

/// `text` with each of `what` replaced.
std::string replace_all(std::string text, const std::string& what, const std::string& by);

// Each gives the contents of a file, made of the definitions alone.
std::string manual_page(const ProgramText& text);
std::string bash_completion(const ProgramText& text);
std::string zsh_completion(const ProgramText& text);
std::string fish_completion(const ProgramText& text);

}  // namespace depth_io::tools
