// Makes the tables of a benchmark run, in Markdown. Usage: camera_depth_rw_benchmark_report
// RESULTS.json [--check]; with --check the exit status is 1 when a goal that must be reached is
// not.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using nlohmann::json;

struct Row {
  std::string name;
  double milliseconds = 0.0;
  std::map<std::string, double> counters;

  bool starts_with(std::string_view prefix) const { return name.starts_with(prefix); }
  bool has(const std::string& counter) const { return counters.contains(counter); }
};

double in_milliseconds(double time, const std::string& unit) {
  if (unit == "ns") return time / 1e6;
  if (unit == "us") return time / 1e3;
  if (unit == "s") return time * 1e3;
  return time;
}

/// Counters stand among the row's own fields.
bool is_counter(const std::string& key, const json& value) {
  constexpr std::string_view kFields[] = {"family_index", "per_family_instance_index",
                                          "repetitions",  "repetition_index",
                                          "threads",      "iterations",
                                          "real_time",    "cpu_time"};
  for (const std::string_view field : kFields) {
    if (key == field) return false;
  }
  return value.is_number();
}

Row read_row(const json& source) {
  Row row;
  row.name = source.at("name").get<std::string>();
  row.name = row.name.substr(0, row.name.find("/iterations:"));
  row.milliseconds = in_milliseconds(source.at("real_time").get<double>(),
                                     source.at("time_unit").get<std::string>());
  for (const auto& [key, value] : source.items()) {
    if (is_counter(key, value)) row.counters[key] = value.get<double>();
  }
  return row;
}

std::vector<Row> read_rows(const json& results) {
  std::vector<Row> rows;
  for (const json& source : results.at("benchmarks")) {
    if (source.contains("error_occurred") && source["error_occurred"].get<bool>()) {
      throw std::runtime_error(source.at("name").get<std::string>() + ": " +
                               source.value("error_message", ""));
    }
    rows.push_back(read_row(source));
  }
  return rows;
}

std::string with_digits(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

/// Whole numbers as they are, others with about three significant digits.
std::string rounded(double value) {
  if (value == std::floor(value)) return with_digits(value, 0);
  if (value >= 100.0) return with_digits(value, 0);
  if (value >= 10.0) return with_digits(value, 1);
  return with_digits(value, value >= 1.0 ? 2 : 3);
}

bool has_rows(const std::vector<Row>& rows, std::string_view prefix) {
  return std::any_of(rows.begin(), rows.end(),
                     [prefix](const Row& row) { return row.starts_with(prefix); });
}

void print_context(const json& context) {
  for (const char* const key :
       {"processor", "system", "compiler", "build_flags", "libraries", "left_out"}) {
    if (context.contains(key))
      std::cout << "- " << key << ": " << context[key].get<std::string>() << '\n';
  }
  std::cout << "- date: " << context.value("date", "") << "\n\n";
}

bool reaches(double value, double goal, bool at_least) {
  return at_least ? value >= goal : value <= goal;
}

void print_goal(const Row& row, std::string_view prefix) {
  const double value = row.counters.at("value");
  const double must = row.counters.at("must_reach");
  const double aim = row.counters.at("aim");
  const bool at_least = row.counters.at("at_least") != 0.0;
  const char* const sign = at_least ? ">= " : "<= ";
  const char* verdict = "**missed**";
  if (reaches(value, must, at_least)) verdict = "reached";
  if (reaches(value, aim, at_least)) verdict = "aim reached";
  std::cout << "| " << row.name.substr(prefix.size()) << " | " << with_digits(value, 2) << " | "
            << sign << rounded(must) << " | " << rounded(aim) << " | " << verdict << " |\n";
}

/// Returns how many goals are missed.
int print_goals(const std::vector<Row>& rows, std::string_view prefix, const char* title) {
  int missed = 0;
  if (!has_rows(rows, prefix)) return missed;
  std::cout << "### " << title << "\n\n";
  std::cout << "| | measured | must reach | aim | |\n|---|--:|--:|--:|---|\n";
  for (const Row& row : rows) {
    if (!row.starts_with(prefix)) continue;
    print_goal(row, prefix);
    const bool at_least = row.counters.at("at_least") != 0.0;
    if (!reaches(row.counters.at("value"), row.counters.at("must_reach"), at_least)) ++missed;
  }
  std::cout << '\n';
  return missed;
}

/// Rows are named frames/SET/OPERATION; each set gets two columns.
void print_frames(const std::vector<Row>& rows) {
  constexpr std::string_view kPrefix = "frames/";
  if (!has_rows(rows, kPrefix)) return;
  std::vector<std::string> sets;
  std::vector<std::string> operations;
  std::map<std::string, std::map<std::string, const Row*>> cells;
  const auto note = [](std::vector<std::string>& names, const std::string& name) {
    for (const std::string& known : names) {
      if (known == name) return;
    }
    names.push_back(name);
  };
  for (const Row& row : rows) {
    if (!row.starts_with(kPrefix)) continue;
    const std::string rest = row.name.substr(kPrefix.size());
    const std::size_t slash = rest.find('/');
    note(sets, rest.substr(0, slash));
    note(operations, rest.substr(slash + 1));
    cells[rest.substr(slash + 1)][rest.substr(0, slash)] = &row;
  }
  std::cout << "### Milliseconds and bytes of a frame\n\n|";
  for (const std::string& set : sets) std::cout << " | " << set << " ms | bytes";
  std::cout << " |\n|---";
  for (std::size_t i = 0; i < sets.size(); ++i) std::cout << "|--:|--:";
  std::cout << "|\n";
  for (const std::string& operation : operations) {
    std::cout << "| " << operation;
    for (const std::string& set : sets) {
      const Row* const row = cells[operation][set];
      std::cout << " | " << (row != nullptr ? with_digits(row->milliseconds, 2) : "") << " | "
                << (row != nullptr && row->has("bytes") ? with_digits(row->counters.at("bytes"), 0)
                                                        : "");
    }
    std::cout << " |\n";
  }
  std::cout << '\n';
}

/// Rows that begin with `prefix`, with their time and all their counters.
void print_plain(const std::vector<Row>& rows, std::string_view prefix, const char* title) {
  if (!has_rows(rows, prefix)) return;
  std::vector<std::string> counters;
  for (const Row& row : rows) {
    if (!row.starts_with(prefix)) continue;
    for (const auto& [name, value] : row.counters) {
      if (std::find(counters.begin(), counters.end(), name) == counters.end()) {
        counters.push_back(name);
      }
    }
  }
  std::cout << "### " << title << "\n\n| | ms";
  for (const std::string& counter : counters) std::cout << " | " << counter;
  std::cout << " |\n|---|--:";
  for (std::size_t i = 0; i < counters.size(); ++i) std::cout << "|--:";
  std::cout << "|\n";
  for (const Row& row : rows) {
    if (!row.starts_with(prefix)) continue;
    std::cout << "| " << row.name.substr(prefix.size()) << " | " << rounded(row.milliseconds);
    for (const std::string& counter : counters) {
      std::cout << " | " << (row.has(counter) ? rounded(row.counters.at(counter)) : "");
    }
    std::cout << " |\n";
  }
  std::cout << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc == 3 && std::string_view(argv[2]) == "--check";
  if (argc != 2 && !check) {
    std::cerr << "usage: " << argv[0] << " RESULTS.json [--check]\n";
    return 2;
  }
  try {
    std::ifstream file(argv[1]);
    const json results = json::parse(file);
    const std::vector<Row> rows = read_rows(results);
    print_context(results.at("context"));
    const int missed = print_goals(rows, "goal/", "Goals");
    print_goals(rows, "compare/", "To compare with, without a claim");
    print_frames(rows);
    print_plain(rows, "capture/", "Capture");
    print_plain(rows, "catalogue/", "Listing and sorting");
    print_plain(rows, "engine/", "Engines");
    print_plain(rows, "growth/frame/", "Writing frames with more labels, runs and error records");
    print_plain(rows, "growth/history/", "Length of the history");
    print_plain(rows, "growth/frames per folder/", "Frames per folder");
    const bool complete = !results.at("context").contains("left_out");
    if (!complete) std::cout << "Goals are left out, for their frames are missing.\n";
    if (missed > 0) std::cout << missed << " goals are missed.\n";
    return check && (missed > 0 || !complete) ? 1 : 0;
  } catch (const std::exception& failure) {
    std::cerr << argv[1] << ": " << failure.what() << '\n';
    return 1;
  }
}
