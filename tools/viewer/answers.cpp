#include "tools/viewer/answers.h"

#include <utility>

#include "tools/viewer/request_rules.h"

namespace depth_io::tools {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

void reply(Response& response, std::string body, std::string_view content_type) {
  response.status = 200;
  response.body = std::move(body);
  response.set_header("Content-Type", std::string(content_type));
}

void refuse(Response& response, int status, const std::string& reason,
            const std::vector<std::string>& details) {
  reply(response,
        json{{"error", reason}, {"details", details}}.dump(-1, ' ', false,
                                                           json::error_handler_t::replace),
        kJson);
  response.status = status;
}

std::uint64_t number_parameter(const Request& request, const char* name, std::uint64_t most) {
  const auto number = parse_count(request.get_param_value(name), most);
  if (request.get_param_value_count(name) != 1 || !number) {
    throw Refused{
        400, std::string("'") + name + "' must be a whole number up to " + std::to_string(most)};
  }
  return *number;
}

std::uint64_t number_field(const json& body, const char* name, std::uint64_t least,
                           std::uint64_t most) {
  const auto field = body.find(name);
  if (field == body.end() || !field->is_number_unsigned() || field->get<std::uint64_t>() < least ||
      field->get<std::uint64_t>() > most) {
    throw Refused{400, std::string("'") + name + "' must be a whole number from " +
                           std::to_string(least) + " to " + std::to_string(most)};
  }
  return field->get<std::uint64_t>();
}

std::string text_field(const json& body, const char* name) {
  const auto field = body.find(name);
  if (field == body.end() || !field->is_string()) {
    throw Refused{400, std::string("'") + name + "' must be a text"};
  }
  return field->get<std::string>();
}

bool flag_field(const json& body, const char* name) {
  const auto field = body.find(name);
  if (field == body.end() || !field->is_boolean()) {
    throw Refused{400, std::string("'") + name + "' must be true or false"};
  }
  return field->get<bool>();
}

json parsed_body(const Request& request) {
  json body = json::parse(request.body, nullptr, false);
  if (!body.is_object()) throw Refused{400, "the request must be a JSON object"};
  return body;
}

}  // namespace depth_io::tools
