#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

/// The frame format a second time, in the plainest way there is, to judge the library by.
namespace depth_io::test {

inline float model_decode(int code, float reference) {
  return static_cast<float>(code) / 100.0F - 1.25F + reference;
}

inline float model_tolerance(float depth) {
  if (depth < 1.0F) return 0.01F;
  if (depth < 2.0F) return 0.02F;
  if (depth < 3.0F) return 0.03F;
  if (depth < 4.0F) return 0.04F;
  return 0.05F;
}

/// Clamps to 0..255; not-a-number stays.
inline float model_clamp(float depth) {
  if (depth < 0.0F) return 0.0F;
  if (depth > 255.0F) return 255.0F;
  return depth;
}

struct FrameModel {
  std::vector<int> labels;
  std::vector<int> codes;
  std::vector<float> references;
  bool refused = false;  ///< a code misses its depth by too much
};

/// First fit over all references, in creation order.
inline FrameModel model_labels(const std::vector<float>& depths, const std::vector<int>& mask) {
  FrameModel model;
  model.labels.assign(depths.size(), -1);
  model.codes.assign(depths.size(), 0);
  for (std::size_t i = 0; i < depths.size(); ++i) {
    if (mask[i] < 0) continue;
    const float z = depths[i];
    std::size_t label = 0;
    while (label < model.references.size() && !(std::fabs(z - model.references[label]) <= 1.25F)) {
      ++label;
    }
    model.labels[i] = static_cast<int>(label);
    if (label == model.references.size()) {
      model.references.push_back(z);
      model.codes[i] = 125;
      continue;
    }
    const float reference = model.references[label];
    model.codes[i] = static_cast<int>(std::round((1.25F + (z - reference)) * 100.0F));
    if (std::fabs(model_decode(model.codes[i], reference) - z) > 0.005001F) model.refused = true;
  }
  return model;
}

inline std::string model_label_map_text(const std::vector<int>& labels) {
  std::vector<std::pair<int, int>> runs;
  for (const int label : labels) {
    if (!runs.empty() && runs.back().second == label && runs.back().first < 30000) {
      ++runs.back().first;
    } else {
      runs.emplace_back(1, label);
    }
  }
  std::string text = runs.empty() ? "" : std::to_string(runs.size()) + "\n";
  for (const auto& [length, label] : runs) {
    text += std::to_string(length) + " " + std::to_string(label) + "\n";
  }
  return text + "\n";
}

inline std::string model_number(float value) {
  char text[64];
  std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
  return text;
}

inline std::string model_reference_text(const std::vector<float>& references, float a11, float a22,
                                        float cx, float cy) {
  std::string text = "nblabels " + std::to_string(references.size()) + " a11 " + model_number(a11) +
                     " a22 " + model_number(a22) + " cx " + model_number(cx) + " cy " +
                     model_number(cy) + "\n";
  for (const float reference : references) text += model_number(reference) + "\n";
  return text;
}

/// How the compared codes are stepped through: the writer's way moves on at labelled pixels only.
enum class Cursor { kLabelledPixelsOnly, kEveryPixel };

/// Pixels that get an error record, given the code image as JPEG decodes it (one byte per pixel).
inline std::vector<bool> model_error_map(const FrameModel& model,
                                         const std::vector<unsigned char>& decoded,
                                         Cursor cursor = Cursor::kLabelledPixelsOnly) {
  std::vector<bool> flagged(model.labels.size(), false);
  std::size_t labelled = 0;
  for (std::size_t i = 0; i < model.labels.size(); ++i) {
    if (model.labels[i] < 0) continue;
    const std::size_t k = cursor == Cursor::kEveryPixel ? i : labelled;
    ++labelled;
    const float reference = model.references[static_cast<std::size_t>(model.labels[i])];
    const float meant = model_decode(model.codes[k], reference);
    const float got = model_clamp(model_decode(decoded[k], reference));
    flagged[i] = std::fabs(meant - got) > model_tolerance(meant);
  }
  return flagged;
}

inline std::string model_error_bytes(const FrameModel& model, const std::vector<bool>& flagged,
                                     int width, int height) {
  std::string counts;
  std::string records;
  for (int region = 0; region < 6; ++region) {
    const int first_row = 256 * (region / 3);
    const int first_col = 256 * (region % 3);
    int count = 0;
    for (int row = first_row; row < std::min(height, first_row + 256); ++row) {
      for (int col = first_col; col < std::min(width, first_col + 256); ++col) {
        const auto i = static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                       static_cast<std::size_t>(col);
        if (!flagged[i]) continue;
        ++count;
        records += static_cast<char>(row - first_row);
        records += static_cast<char>(col - first_col);
        records += static_cast<char>(model.codes[i]);
      }
    }
    counts += static_cast<char>(count / 256);
    counts += static_cast<char>(count % 256);
  }
  return counts + records;
}

}  // namespace depth_io::test
