#include "tools/viewer/viewer_server.h"

#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>
#include <nlohmann/json.hpp>
#include <string_view>

#include "codec/frame_names.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/frame_check.h"
#include "tools/system/files.h"
#include "tools/viewer/answers.h"
#include "tools/viewer/frame_facts.h"
#include "tools/viewer/frame_payload.h"
#include "tools/viewer/resources.h"

namespace depth_io::tools {
namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;
using HandlerResponse = httplib::Server::HandlerResponse;

constexpr std::size_t kTokenBytes = 16;

/// Places of frames hold only for the recording that the page has seen.
void check_generation(std::uint64_t asked, const RecordingView& view) {
  if (asked != view.generation) throw Refused{409, "the recording has changed"};
}

std::string deflated(const std::string& bytes) {
  uLongf size = compressBound(bytes.size());
  std::string result(size, '\0');
  const int outcome =
      compress2(reinterpret_cast<Bytef*>(result.data()), &size,
                reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(), Z_BEST_SPEED);
  if (outcome != Z_OK) throw std::bad_alloc();
  result.resize(size);
  return result;
}

RequestFacts request_facts(const Request& request) {
  RequestFacts facts;
  facts.method = request.method;
  facts.path = request.path;
  facts.hosts = request.get_header_value_count("Host");
  facts.host = request.get_header_value("Host");
  facts.origin = request.get_header_value("Origin");
  facts.fetch_site = request.get_header_value("Sec-Fetch-Site");
  facts.token = request.get_header_value("X-Depthrw-Token");
  facts.content_type = request.get_header_value("Content-Type");
  facts.wants_range = request.has_header("Range");
  return facts;
}

std::string host_name() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

bool is_any_address(const std::string& address) { return address == "0.0.0.0" || address == "::"; }

/// As it stands in an address of the web.
std::string address_part(const std::string& address) {
  if (is_any_address(address)) return host_name();
  return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

httplib::Headers security_headers() {
  return {{"Content-Security-Policy",
           "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
           "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
          {"X-Content-Type-Options", "nosniff"},
          {"X-Frame-Options", "DENY"},
          {"Referrer-Policy", "no-referrer"},
          {"Cross-Origin-Resource-Policy", "same-origin"},
          {"Cross-Origin-Opener-Policy", "same-origin"},
          {"Cache-Control", "no-store"}};
}

}  // namespace

ViewerServer::ViewerServer(const ViewerSettings& settings)
    : settings_(settings),
      token_(random_token(kTokenBytes)),
      rules_(token_, {settings.address, host_name()}),
      recording_(settings.directory),
      facts_(recording_, background_),
      motion_(recording_, background_),
      exports_(settings.export_program, settings.directory, settings.exports) {
  add_routes();
  port_ = http_.take_port(settings.address, settings.port);
}

std::string ViewerServer::page_address() const {
  // Behind the "#" it stays in the browser.
  return "http://" + address_part(settings_.address) + ":" + std::to_string(port_) +
         "/#token=" + token_;
}

void ViewerServer::add_routes() {
  constexpr std::size_t kLargestBody = 4096;
  http_.set_payload_max_length(kLargestBody);
  http_.set_default_headers(security_headers());
  http_.set_pre_routing_handler(
      [this](const Request& request, Response& response) { return receive(request, response); });
  // Only a request with contents needs a route of its own, which reads them.
  http_.Post("/api/exports", [this](const Request& request, Response& response) {
    start_export(request, response);
  });
  http_.Post("/api/exports/cancel", [this](const Request& request, Response& response) {
    cancel_export(request, response);
  });
  http_.set_error_handler(
      httplib::Server::HandlerWithResponse([](const Request&, Response& response) {
        if (response.body.empty())
          refuse(response, response.status, "the request cannot be answered");
        return HandlerResponse::Handled;
      }));
  http_.set_exception_handler([](const Request&, Response& response, std::exception_ptr error) {
    try {
      std::rethrow_exception(std::move(error));
    } catch (const Refused& refused) {
      refuse(response, refused.status, refused.reason);
    } catch (const std::exception& failure) {
      refuse(response, 500, failure.what());
    }
  });
}

HandlerResponse ViewerServer::receive(const Request& request, Response& response) {
  if (const auto refusal = rules_.refusal_of(request_facts(request))) {
    refuse(response, refusal->status, refusal->reason);
    return HandlerResponse::Handled;
  }
  if (request.method == "POST") return HandlerResponse::Unhandled;
  answer(request, response);
  return HandlerResponse::Handled;
}

void ViewerServer::answer(const Request& request, Response& response) {
  for (const Resource& resource : page_resources()) {
    if (request.path != resource.path) continue;
    reply(response, std::string(resource.bytes), resource.content_type);
    return;
  }
  const Question question{request, recording_.view()};
  const auto asked_generation = [&] {
    return number_parameter(request, "generation", std::numeric_limits<std::uint64_t>::max());
  };
  if (request.path == "/api/recording") {
    if (request.has_param("look")) recording_.look_again();
    reply(response, recording_description(recording_.view()), kJson);
  } else if (request.path == "/api/index") {
    reply(response, frame_index(question.view), kBinary);
  } else if (request.path == "/api/facts") {
    reply(response, facts_.found_after(asked_generation(), number_parameter(request, "after")),
          kBinary);
  } else if (request.path == "/api/motion") {
    reply(
        response,
        motion_.found_after(asked_generation(), number_parameter(request, "after"),
                            number_parameter(request, "first"), number_parameter(request, "last")),
        kJson);
  } else if (request.path == "/api/exports") {
    reply(response, exports_.description(), kJson);
  } else if (request.path.starts_with("/api/frames/")) {
    check_generation(asked_generation(), question.view);
    background_.note_request();
    answer_frame(question, response);
  } else {
    throw Refused{404, "there is no such page"};
  }
}

void ViewerServer::answer_frame(const Question& question, Response& response) {
  constexpr std::string_view kPrefix = "/api/frames/";
  const std::string_view rest = std::string_view(question.request.path).substr(kPrefix.size());
  const std::string_view number = rest.substr(0, rest.find('/'));
  const std::string_view part = rest.substr(number.size());
  const auto frame = parse_count(number, question.view.frames().size() - 1);
  if (!frame) throw Refused{404, "there is no such frame"};
  if (part.empty()) {
    reply(response, frame_description(question.view, *frame), kJson);
  } else if (part == "/depth") {
    answer_depth(question, *frame, response);
  } else if (part == "/colour") {
    answer_colour(question, *frame, response);
  } else {
    throw Refused{404, "there is no such page"};
  }
}

void ViewerServer::answer_depth(const Question& question, std::size_t frame, Response& response) {
  const RecordedFrame& recorded = question.view.frames()[frame];
  std::string payload;
  {
    DecoderPool::Loan decoder(decoders_);
    if (decoder->decode(question.view.path_of(recorded.depth_name()))) {
      payload = frame_payload(*decoder);
    }
  }
  if (payload.empty()) {
    refuse(response, 422, recorded.depth_name() + " cannot be read",
           find_faults(*question.view.recording, recorded));
  } else if (question.request.has_param("deflate")) {
    reply(response, deflated(payload), kBinary);
    response.set_header("Content-Encoding", "deflate");
  } else {
    reply(response, std::move(payload), kBinary);
  }
}

void ViewerServer::answer_colour(const Question& question, std::size_t frame, Response& response) {
  constexpr std::size_t kLargestImage = std::size_t{16} << 20U;
  constexpr std::string_view kJpegStart = "\xFF\xD8\xFF";
  const RecordedFrame& recorded = question.view.frames()[frame];
  if (!recorded.has_colour) throw Refused{404, recorded.depth_name() + " has no colour image"};
  const std::string name = recorded.colour_name() + kJpegEnding;
  auto bytes = read_regular_file(question.view.path_of(name), kLargestImage);
  // Whatever the name leads to: only pictures are given away.
  if (!bytes || !bytes->starts_with(kJpegStart)) throw Refused{422, "'" + name + "' is no image"};
  reply(response, std::move(*bytes), "image/jpeg");
}

void ViewerServer::start_export(const Request& request, Response& response) {
  const json body = parsed_body(request);
  const RecordingView view = recording_.view();
  check_generation(number_field(body, "generation", 1, kMostFrames), view);
  const std::uint64_t count = view.frames().size();
  const std::uint64_t first = number_field(body, "first", 0, count - 1);
  const std::uint64_t last = number_field(body, "last", first, count - 1);
  ExportOrder order;
  order.format = text_field(body, "format");
  order.name = text_field(body, "name");
  order.stride = number_field(body, "stride", 1, count);
  order.swaps_principal_point = flag_field(body, "swap_principal_point");
  order.frames = last - first + 1;
  if (order.frames < count) {
    const auto from = view.recording->time_of(view.frames()[first]);
    const auto to = view.recording->time_of(view.frames()[last]);
    if (!from || !to) {
      throw Refused{400, "a range needs times, which frames named by number do not have"};
    }
    order.from = stamp_text(*from);
    order.to = stamp_text(*to);
  }
  reply(response, json{{"id", exports_.start(order)}}.dump(), kJson);
}

void ViewerServer::cancel_export(const Request& request, Response& response) {
  const json body = parsed_body(request);
  if (!exports_.cancel(number_field(body, "id", 1, kMostFrames))) {
    throw Refused{404, "there is no such export at work"};
  }
  reply(response, "{}", kJson);
}

}  // namespace depth_io::tools
