#pragma once

#include <httplib.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tools/viewer/refused.h"

/// What all answers of the viewer's server have in common.
namespace depth_io::tools {

inline constexpr char kJson[] = "application/json";
inline constexpr char kBinary[] = "application/octet-stream";

/// More frames than a recording can have.
inline constexpr std::uint64_t kMostFrames = std::numeric_limits<std::uint32_t>::max();

void reply(httplib::Response& response, std::string body, std::string_view content_type);

void refuse(httplib::Response& response, int status, const std::string& reason,
            const std::vector<std::string>& details = {});

// These throw `Refused` when the request does not hold what they are to give.

/// A parameter that is a whole number.
std::uint64_t number_parameter(const httplib::Request& request, const char* name,
                               std::uint64_t most = kMostFrames);

/// The contents as a JSON object, and its fields.
nlohmann::json parsed_body(const httplib::Request& request);
std::uint64_t number_field(const nlohmann::json& body, const char* name, std::uint64_t least,
                           std::uint64_t most);
std::string text_field(const nlohmann::json& body, const char* name);
bool flag_field(const nlohmann::json& body, const char* name);

}  // namespace depth_io::tools
