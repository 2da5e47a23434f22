#include "tools/viewer/background.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <thread>

namespace depth_io::tools {

void Background::join() {
  constexpr int kNice = 15;
  setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), kNice);
}

void Background::give_way(const std::stop_token& stop) const {
  const Clock::time_point begin = Clock::now();
  for (Clock::time_point now = begin;
       now - last_request_.load() < kQuiet && now - begin < kPatience && !stop.stop_requested();
       now = Clock::now()) {
    std::this_thread::sleep_for(kNap);
  }
}

}  // namespace depth_io::tools
