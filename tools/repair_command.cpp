#include "tools/repair_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tools/recording/catalogue_files.h"
#include "tools/recording/frame_files.h"
#include "tools/recording/recording_folders.h"
#include "tools/system/directory_lock.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/json_text.h"
#include "tools/system/library_log.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

namespace fs = std::filesystem;

struct RepairArguments {
  std::string directory;
  bool json = false;
  bool verbose = false;
};

/// Contents of the catalogue's files by their names in the recording; those that cannot be read
/// count as empty.
using Catalogue = std::map<std::string, std::string>;

class Repair {
 public:
  explicit Repair(const RepairArguments& arguments)
      : arguments_(arguments), log_(arguments.verbose) {}

  int run() {
    std::error_code error;
    if (!fs::is_directory(arguments_.directory, error)) {
      throw Failure("there is no directory '" + arguments_.directory + "'");
    }
    const DirectoryLock lock(arguments_.directory);
    find_folders();
    before_ = read_catalogue();
    if (has_frames_in_folders_) {
      sub_directories_ = write_catalogue(arguments_.directory, log_);
      after_ = read_catalogue();
    }
    remove_outdated_files();
    compare_catalogues();
    arguments_.json ? print_json() : print_report();
    return kGood;
  }

 private:
  std::string path(const std::string& name) const { return arguments_.directory + "/" + name; }

  /// The numbered sub-directories: those with label maps have a catalogue.
  void find_folders() {
    for (const std::string& name : listed("")) {
      if (!is_numbered_folder(name)) continue;
      std::error_code error;
      if (!fs::is_directory(fs::symlink_status(path(name), error))) continue;
      const std::vector<std::string> files = listed(name);
      const bool has_frames = std::any_of(files.begin(), files.end(), is_label_map);
      folders_[name] = has_frames;
      has_frames_in_folders_ = has_frames_in_folders_ || has_frames;
    }
  }

  static bool is_label_map(const std::string& name) {
    const auto file = frame_file(name);
    return file && file->flag == &RecordedFrame::has_label_map;
  }

  std::vector<std::string> listed(const std::string& folder) const {
    return listed_names(path(folder));
  }

  Catalogue read_catalogue() const {
    Catalogue catalogue;
    const auto add = [&](const std::string& name) {
      constexpr std::size_t kSizeLimit = std::size_t{256} << 20U;
      std::error_code error;
      if (!fs::exists(fs::symlink_status(path(name), error))) return;
      catalogue[name] = read_regular_file(path(name), kSizeLimit).value_or("");
    };
    add("info.txt");
    for (const std::string& name : listed("")) {
      if (is_info_of_folder(name)) add(name);
    }
    for (const auto& [folder, has_frames] : folders_) add(folder + "/list.txt");
    return catalogue;
  }

  /// info00000003.txt
  static bool is_info_of_folder(const std::string& name) {
    constexpr std::string_view kBegin = "info";
    constexpr std::string_view kEnd = ".txt";
    return name.size() > kBegin.size() + kEnd.size() && name.starts_with(kBegin) &&
           name.ends_with(kEnd) &&
           is_numbered_folder(std::string_view(name).substr(
               kBegin.size(), name.size() - kBegin.size() - kEnd.size()));
  }

  /// Files of a catalogue that tell of frames that are no longer there.
  void remove_outdated_files() {
    for (const auto& [name, contents] : before_) {
      if (!is_outdated(name)) continue;
      std::error_code error;
      if (!fs::is_regular_file(fs::symlink_status(path(name), error)) ||
          !fs::remove(path(name), error)) {
        throw Failure("cannot remove '" + path(name) + "', which tells of frames that are gone");
      }
      removed_.push_back(name);
      after_.erase(name);
    }
  }

  bool is_outdated(const std::string& name) const {
    if (!has_frames_in_folders_) return true;
    if (name == "info.txt") return false;
    const auto has_frames = [&](const std::string& folder) {
      const auto known = folders_.find(folder);
      return known != folders_.end() && known->second;
    };
    constexpr std::size_t kFolderNameSize = 8;
    constexpr std::size_t kPlaceInInfo = 4;
    return is_info_of_folder(name) ? !has_frames(name.substr(kPlaceInInfo, kFolderNameSize))
                                   : !has_frames(name.substr(0, kFolderNameSize));
  }

  void compare_catalogues() {
    for (const auto& [name, contents] : after_) {
      const auto old = before_.find(name);
      if (old == before_.end()) {
        written_.push_back(name);
      } else if (old->second != contents) {
        corrected_.push_back(name);
      } else {
        ++unchanged_;
      }
    }
  }

  void print_report() const {
    const auto print = [](const char* what, const std::vector<std::string>& names) {
      for (const std::string& name : names) write_data("%-10s %s\n", what, name.c_str());
    };
    print("written", written_);
    print("corrected", corrected_);
    print("removed", removed_);
    if (has_frames_in_folders_) {
      write_data(
          "catalogue  %d sub-directories with frames, %zu files written, %zu corrected, "
          "%zu removed, %zu unchanged\n",
          sub_directories_, written_.size(), corrected_.size(), removed_.size(), unchanged_);
    } else {
      write_data("catalogue  no numbered sub-directories with frames: none is needed\n");
    }
  }

  void print_json() const {
    const JsonMemory memory;
    nlohmann::ordered_json root;
    root["directory"] = arguments_.directory;
    root["sub_directories"] = sub_directories_;
    root["written"] = written_;
    root["corrected"] = corrected_;
    root["removed"] = removed_;
    root["unchanged"] = unchanged_;
    write_data("%s\n", json_text(root).c_str());
  }

  const RepairArguments& arguments_;
  LibraryLog log_;
  std::map<std::string, bool> folders_;  ///< whether there are frames in it
  bool has_frames_in_folders_ = false;
  int sub_directories_ = 0;
  Catalogue before_;
  Catalogue after_;
  std::vector<std::string> written_;
  std::vector<std::string> corrected_;
  std::vector<std::string> removed_;
  std::size_t unchanged_ = 0;
};

}  // namespace

std::function<int()> add_repair_command(CLI::App& program) {
  auto arguments = std::make_shared<RepairArguments>();
  RepairArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "repair",
      "Makes the catalogue of numbered sub-directories anew from the frames that are there, "
      "removes "
      "catalogue files of frames that are gone and tells what was wrong; touches no frame");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  command.add_flag("--json", a.json, "Print JSON instead of a report");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return Repair(*arguments).run(); };
}

}  // namespace depth_io::tools
