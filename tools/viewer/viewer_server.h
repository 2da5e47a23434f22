#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "tools/viewer/export_jobs.h"
#include "tools/viewer/facts_survey.h"
#include "tools/viewer/frame_decoder.h"
#include "tools/viewer/http_server.h"
#include "tools/viewer/motion_survey.h"
#include "tools/viewer/request_rules.h"
#include "tools/viewer/viewed_recording.h"

namespace depth_io::tools {

struct ViewerSettings {
  std::string directory;       ///< of the recording
  std::string address;         ///< to listen on
  int port = 0;                ///< 0: any free one
  std::string exports;         ///< directory in which exports are made
  std::string export_program;  ///< that makes them
};

/// Serves a recording to the page; docs/viewer.md lists what it answers. Everything below /api
/// needs the token of the page's address. Errors are 4xx with {"error": "a sentence"}.
class ViewerServer {
 public:
  /// Opens the recording and takes the port. Throws `Failure`.
  explicit ViewerServer(const ViewerSettings& settings);

  void start() { http_.start(); }
  void finish() { http_.finish(); }

  int port() const { return port_; }
  std::size_t frame_count() const { return recording_.view().frames().size(); }
  const Recording& recording() const { return *recording_.view().recording; }
  /// Address of the page, with the token.
  std::string page_address() const;

 private:
  /// What a request wants: a frame, for example, and the parameters.
  struct Question {
    const httplib::Request& request;
    RecordingView view;
  };

  void add_routes();
  httplib::Server::HandlerResponse receive(const httplib::Request& request,
                                           httplib::Response& response);
  void answer(const httplib::Request& request, httplib::Response& response);
  void answer_frame(const Question& question, httplib::Response& response);
  void answer_depth(const Question& question, std::size_t frame, httplib::Response& response);
  void answer_colour(const Question& question, std::size_t frame, httplib::Response& response);
  void start_export(const httplib::Request& request, httplib::Response& response);
  void cancel_export(const httplib::Request& request, httplib::Response& response);

  ViewerSettings settings_;
  std::string token_;
  RequestRules rules_;
  ViewedRecording recording_;
  DecoderPool decoders_;
  Background background_;
  FactsSurvey facts_;
  MotionSurvey motion_;
  ExportJobs exports_;
  HttpServer http_;
  int port_;
};

}  // namespace depth_io::tools
