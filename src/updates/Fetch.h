// Fetching one document over HTTP, without waiting for it.
#pragma once

#include <QNetworkAccessManager>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "classShared/Outcome.h"
#include "platform/RunLoop.h"

class QNetworkReply;

namespace tessarin {

struct FetchLimits {
  std::uint64_t largest = 0;         // bytes that may come
  std::chrono::seconds connect{15};  // until the server is reached
  std::chrono::seconds stalled{30};  // how long nothing may come
  std::chrono::seconds whole{0};     // all together; 0: as long as it takes
};

// Asks for an address as soon as it is made, and is cancelled by its destruction. Redirections are
// followed, a few of them, and from https to https only. Proxies are those of the system
// (https_proxy …). Needs an application object, and that Qt's events are served.
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
  void ask(const QUrl& address);
  void takeBytes();
  void follow(const QUrl& address);
  void end();
  int status() const;
  Outcome<void> outcome() const;
  void refuse(const Failure& reason);

  RunLoop& loop_;
  FetchLimits limits_;
  Take take_;
  Done done_;
  std::uint64_t room_;              // bytes that may still come
  std::optional<Failure> refusal_;  // why we ended the transfer
  QNetworkAccessManager network_;
  QTimer connecting_;
  QTimer whole_;
  QNetworkReply* reply_ = nullptr;  // network_'s
  int redirections_ = 0;
  RunLoop::Id end_ = 0;
};

}  // namespace tessarin
