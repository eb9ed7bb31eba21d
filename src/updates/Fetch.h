// Fetching one document over HTTP, without waiting for it.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "platform/Descriptor.h"
#include "platform/RunLoop.h"

namespace tessarin {

struct FetchLimits {
  std::uint64_t largest = 0;         // bytes that may come
  std::chrono::seconds connect{15};  // until the server is reached
  std::chrono::seconds stalled{30};  // how long hardly anything may come
  std::chrono::seconds whole{0};     // all together; 0: as long as it takes
};

// Asks for an address as soon as it is made, and is cancelled by its destruction. Redirections are
// followed, a few of them, and from https to https only. Proxies are those of the environment
// (https_proxy …).
class Fetch {
 public:
  // Takes bytes as they come; a failure ends the transfer with its reason. Must not destroy the
  // Fetch.
  using Take = std::function<Outcome<void>(std::string_view)>;
  // The end: true, or the reason in the user's words. Called once, from the loop. May destroy the
  // Fetch.
  using Done = std::function<void(const Outcome<void>&)>;

  // The address is an askable one (address.h). The loop has to outlive the object.
  Fetch(RunLoop& loop, const std::string& address, const FetchLimits& limits, Take take, Done done);
  Fetch(const Fetch&) = delete;
  Fetch& operator=(const Fetch&) = delete;
  ~Fetch();

 private:
  void prepare(const std::string& address, const FetchLimits& limits);
  void serveSockets();
  void advance(curl_socket_t socket, int events);
  void endWhenOver();
  Outcome<void> outcomeOf(CURLcode code);
  std::string currentAddress();

  // curl's callbacks; the last argument is the Fetch.
  static std::size_t takeBytes(const char* bytes, std::size_t one, std::size_t count, void* fetch);
  static int watchSocket(CURL*, curl_socket_t socket, int wanted, void* fetch, void* known);
  static int setTimer(CURLM*, long milliseconds, void* fetch);

  RunLoop& loop_;
  Take take_;
  Done done_;
  std::uint64_t room_;              // bytes that may still come
  std::optional<Failure> refusal_;  // why takeBytes ended the transfer
  // The loop only knows of reading; this descriptor can be read when one of curl's sockets can be
  // read or written.
  Descriptor sockets_;
  RunLoop::Id watch_ = 0;
  RunLoop::Id timer_ = 0;
  CURLM* transfers_ = nullptr;
  CURL* transfer_ = nullptr;
};

}  // namespace tessarin
