#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "tools/export/exporter.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/frame_statistics.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr char kHeading[] =
    "name,time,seconds,bytes_rle,bytes_ref,bytes_jpg,bytes_err,bytes_colour,labels,runs,"
    "error_records,depth_min_m,depth_median_m,depth_max_m,valid_percent,fault\n";

std::string count_text(const std::optional<long>& count) {
  return count ? std::to_string(*count) : std::string();
}

/// In quotation marks, for it may hold commas; empty when there is no fault.
std::string fault_cell(const std::vector<std::string>& faults) {
  if (faults.empty()) return {};
  std::string cell = "\"";
  for (const std::string& fault : faults) {
    if (cell.size() > 1) cell += "; ";
    for (const char c : fault) {
      if (c == '"') cell += '"';
      cell += c;
    }
  }
  return cell + "\"";
}

/// Minimum, median and maximum of the readings, and how many of the pixels have one.
std::string depth_cells(const std::vector<float>& depth) {
  std::vector<float> readings;
  for (const float reading : depth) {
    if (reading >= kLeastExportedReading) readings.push_back(reading);
  }
  const double percent =
      100.0 * static_cast<double>(readings.size()) / static_cast<double>(depth.size());
  if (readings.empty()) return format_text(",,,%.4f", percent);
  const auto [nearest, farthest] = std::minmax_element(readings.begin(), readings.end());
  const auto least = static_cast<double>(*nearest);
  const auto most = static_cast<double>(*farthest);
  const auto middle = readings.begin() + static_cast<std::ptrdiff_t>((readings.size() - 1) / 2);
  std::nth_element(readings.begin(), middle, readings.end());
  return format_text("%.4f,%.4f,%.4f,%.4f", least, static_cast<double>(*middle), most, percent);
}

/// One table with a line for each frame, damaged ones included.
class TableExporter final : public Exporter {
 public:
  explicit TableExporter(const ExportTask& task) : Exporter(task) {}
  ~TableExporter() override {
    if (file_ != nullptr && file_ != stdout) std::fclose(file_);
  }

  bool wants_colour_pixels() const override { return false; }
  bool takes_damaged() const override { return true; }

  EarlierFrames begin() override {
    std::string rows;
    const EarlierFrames earlier = rows_of_earlier_run(rows);
    file_ = is_stream() ? stdout : std::fopen(temporary().c_str(), "we");
    if (file_ == nullptr) fail();
    write(kHeading + rows);
    return earlier;
  }

  std::vector<std::string> files_of(const ExportFrame& /*frame*/,
                                    bool /*with_colour*/) const override {
    return {};
  }

  ExportPiece make(const ReadFrame& read) const override {
    const ExportFrame& frame = read.place;
    const FrameStatistics files = statistics_of(task_.recording.directory(), *frame.recorded);
    std::string row = frame.recorded->depth_name() + "," + time_text(task_.frames, frame) + ",";
    if (task_.frames.have_times) row += seconds_text(frame.microseconds);
    row += format_text(",%ju,%ju,%ju,%ju,%ju,", files.bytes.label_map, files.bytes.reference,
                       files.bytes.codes, files.bytes.errors, files.bytes.colour);
    row += count_text(files.labels) + "," + count_text(files.runs) + "," +
           count_text(files.error_records) + ",";
    row += read.has_depth ? depth_cells(read.frame.depth) : ",,,";
    row += "," + fault_cell(read.faults);
    ExportPiece piece;
    piece.bytes = row + "\n";
    return piece;
  }

  void take(const ExportFrame& /*frame*/, const ExportPiece& piece) override { write(piece.bytes); }

  void finish(const std::vector<ExportedFrame>& /*frames*/, bool is_whole) override {
    if (is_stream()) return;
    if (std::fclose(std::exchange(file_, nullptr)) != 0) fail();
    // What is there of it stays for the next run to go on with.
    if (is_whole && std::rename(temporary().c_str(), table().c_str()) != 0) fail();
  }

 private:
  bool is_stream() const { return task_.out == "-"; }
  std::string table() const { return path("frames.csv"); }
  std::string temporary() const { return table() + ".part"; }

  /// The rows that an earlier run has written, as far as they belong to the same frames.
  EarlierFrames rows_of_earlier_run(std::string& rows) const {
    if (is_stream()) return {};
    for (const std::string& file : {temporary(), table()}) {
      constexpr std::size_t kSizeLimit = std::size_t{256} << 20U;
      const auto text = read_regular_file(file, kSizeLimit);
      if (!text || !text->starts_with(kHeading)) continue;
      return take_rows(file, std::string_view(*text).substr(sizeof kHeading - 1), rows);
    }
    return {};
  }

  EarlierFrames take_rows(const std::string& file, std::string_view text, std::string& rows) const {
    EarlierFrames earlier;
    for (const ExportFrame& frame : task_.frames.frames) {
      const std::size_t end = text.find('\n');
      const bool is_its_row = end != std::string_view::npos &&
                              text.starts_with(frame.recorded->depth_name() + ",") &&
                              is_newer(file, task_.recording, *frame.recorded);
      if (!is_its_row) break;
      ++earlier.count;
      if (text[end - 1] == '"') ++earlier.damaged;
      rows += text.substr(0, end + 1);
      text.remove_prefix(end + 1);
    }
    return earlier;
  }

  void write(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) fail();
  }

  [[noreturn]] void fail() const {
    if (is_stream()) throw Failure("the table was not written to its end");
    throw Failure("cannot write '" + table() + "': " + std::strerror(errno));
  }

  std::FILE* file_ = nullptr;
};

}  // namespace

std::unique_ptr<Exporter> make_table_exporter(const ExportTask& task) {
  return std::make_unique<TableExporter>(task);
}

}  // namespace depth_io::tools
