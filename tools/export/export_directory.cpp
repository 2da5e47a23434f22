#include "tools/export/export_directory.h"

#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/json_text.h"

namespace depth_io::tools {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr char kFormat[] = "camera_depth_rw export";
constexpr int kFormatVersion = 1;
constexpr char kDescription[] = "export.json";
constexpr char kReadme[] = "README.txt";

/// What an export puts into its directory beside `export.json`.
constexpr const char* kFolders[] = {"depth", "rgb", "color", "clouds"};
constexpr const char* kFiles[] = {"rgb.txt",    "depth.txt",      "associations.txt",
                                  "scale",      "times.csv",      "video.mkv",
                                  "frames.csv", "intrinsic.json", kReadme};

std::string without_slashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

void check_place(const std::string& out, const std::string& recording) {
  std::error_code error;
  const fs::path inner = fs::weakly_canonical(fs::absolute(out, error), error);
  const fs::path outer = fs::canonical(recording, error);
  if (error) throw Failure("cannot find out where '" + out + "' is: " + error.message());
  const auto [end, rest] = std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end());
  if (end == outer.end()) throw UsageFailure("--out lies in the recording; give another place");
}

bool is_own_image(const std::string& name) {
  const fs::path ending = fs::path(name).extension();
  const bool begins_with_digit = !name.empty() && name[0] >= '0' && name[0] <= '9';
  return begins_with_digit &&
         (ending == ".png" || ending == ".jpg" || ending == ".ply" || ending == ".part");
}

/// Like a value in a sentence.
std::string value_text(const ordered_json& value) {
  return value.is_null() ? "none"
                         : value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace

ordered_json begin_description() {
  return {{"format", kFormat},
          {"format_version", kFormatVersion},
          {"program", "depthrw " DEPTHRW_VERSION}};
}

ExportDirectory::ExportDirectory(std::string path, const std::string& recording,
                                 const ordered_json& parameters, bool overwrite)
    : path_(without_slashes(std::move(path))) {
  check_place(path_, recording);
  make_directories(path_);
  lock_ = std::make_unique<DirectoryLock>(path_, "export");
  read_earlier();
  if (earlier_.is_null()) return;
  if (!overwrite) {
    check_parameters(parameters);
  } else {
    remove_export();
    earlier_ = nullptr;
  }
}

void ExportDirectory::read_earlier() {
  const std::vector<std::string> names = listed_names(path_);
  constexpr std::size_t kSizeLimit = std::size_t{16} << 20U;
  const auto text = read_regular_file(path_ + "/" + kDescription, kSizeLimit);
  if (!text) {
    for (const std::string& name : names) {
      if (name == std::string(kDescription) + ".part") continue;
      throw Failure("'" + path_ + "' holds something else than an export ('" + name +
                    "'); give an empty directory");
    }
    return;
  }
  ordered_json root = ordered_json::parse(*text, nullptr, false);
  const bool is_ours = root.is_object() && root.value("format", ordered_json()) == kFormat &&
                       root.contains("parameters") && root["parameters"].is_object();
  if (!is_ours) {
    throw Failure("'" + path_ + "/" + kDescription +
                  "' is no description of an export, or is "
                  "damaged; give an empty directory");
  }
  earlier_ = std::move(root);
}

void ExportDirectory::check_parameters(const ordered_json& parameters) const {
  const ordered_json& before = earlier_["parameters"];
  std::string differences;
  for (const auto& [name, value] : parameters.items()) {
    const ordered_json old = before.value(name, ordered_json());
    if (old == value) continue;
    differences += (differences.empty() ? "" : ", ") + name + " " + value_text(old) + ", now " +
                   value_text(value);
  }
  if (differences.empty() && before.size() > parameters.size()) {
    differences = "some that this program does not know";
  }
  if (differences.empty()) return;
  throw Failure("'" + path_ + "' holds an export with other parameters (" + differences +
                "); give another directory, or --overwrite to replace it");
}

void ExportDirectory::remove_export() const {
  std::error_code ignored;
  for (const char* const folder : kFolders) {
    const std::string place = path_ + "/" + folder;
    const auto names = sorted_names(place);
    if (!names) continue;
    for (const std::string& name : *names) {
      if (is_own_image(name)) fs::remove(place + "/" + name, ignored);
    }
    fs::remove(place, ignored);  // only if nothing of others is in it
  }
  for (const std::string file : kFiles) {
    fs::remove(path_ + "/" + file, ignored);
    fs::remove(path_ + "/" + file + ".part", ignored);
  }
}

void ExportDirectory::write_description(const ordered_json& description) const {
  write_file_atomically(path_ + "/" + kDescription, json_text(description) + "\n");
}

void ExportDirectory::write_readme(const std::string& text) const {
  write_file_atomically(path_ + "/" + kReadme, text);
}

}  // namespace depth_io::tools
