#include "tools/reference/command_text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>

namespace depth_io::tools {
namespace {

/// The words of "{a,b,c}", which is how a check against a list describes itself.
std::vector<std::string> choices_in(const std::string& type) {
  const std::size_t begin = type.find('{');
  const std::size_t end = type.find('}', begin);
  if (begin == std::string::npos || end == std::string::npos) return {};
  return CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

ArgumentText describe_argument(const CLI::Option& option) {
  ArgumentText text;
  text.is_positional = option.get_positional();
  text.is_required = option.get_required();
  if (text.is_positional) {
    text.names.push_back(option.get_name(true));
  } else {
    for (const std::string& name : option.get_snames()) text.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) text.names.push_back("--" + name);
  }
  if (option.get_items_expected_max() > 0) {
    const std::string type = option.get_type_name();
    text.choices = choices_in(type);
    text.value = text.choices.empty() ? type.substr(0, type.find(':')) : "CHOICE";
  }
  text.by_default = option.get_default_str();
  text.description = option.get_description();
  return text;
}

CommandText describe_command(const CLI::App& command) {
  CommandText text{command.get_name(), command.get_description(), {}};
  for (const CLI::Option* option : command.get_options()) {
    text.arguments.push_back(describe_argument(*option));
  }
  return text;
}

}  // namespace

ProgramText describe(const CLI::App& program) {
  ProgramText text{describe_command(program), program.version(), {}};
  for (const CLI::App* command : program.get_subcommands([](const CLI::App*) { return true; })) {
    text.commands.push_back(describe_command(*command));
  }
  return text;
}

std::vector<ArgumentText> options_of(const CommandText& command) {
  std::vector<ArgumentText> options;
  std::copy_if(command.arguments.begin(), command.arguments.end(), std::back_inserter(options),
               [](const ArgumentText& argument) { return !argument.is_positional; });
  return options;
}

std::string names_of(const std::vector<ArgumentText>& arguments) {
  std::string names;
  for (const ArgumentText& argument : arguments) {
    for (const std::string& name : argument.names) names += (names.empty() ? "" : " ") + name;
  }
  return names;
}

std::string replace_all(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
    text.replace(at, what.size(), by);
  }
  return text;
}

}  // namespace depth_io::tools
