#include "updates/Fetch.h"

#include <fmt/format.h>
#include <sys/epoll.h>

#include <array>
#include <memory>
#include <utility>

#include "classShared/log.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "updates/address.h"

namespace tessarin {

namespace {

constexpr long mostRedirections = 5;
// Less than this many bytes a second is a stalled transfer.
constexpr long slowestRate = 16;
constexpr long statusOk = 200;

void initialiseOnce() {
  static const CURLcode done = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (done != CURLE_OK)
    logFormat("updates             :-( curl {}", curl_easy_strerror(done));
}

std::uint32_t epollEvents(int wanted) {
  std::uint32_t events = 0;
  if (wanted == CURL_POLL_IN || wanted == CURL_POLL_INOUT)
    events |= EPOLLIN;
  if (wanted == CURL_POLL_OUT || wanted == CURL_POLL_INOUT)
    events |= EPOLLOUT;
  return events;
}

int curlEvents(std::uint32_t events) {
  int happened = 0;
  if ((events & EPOLLIN) != 0)
    happened |= CURL_CSELECT_IN;
  if ((events & EPOLLOUT) != 0)
    happened |= CURL_CSELECT_OUT;
  if ((events & (EPOLLERR | EPOLLHUP)) != 0)
    happened |= CURL_CSELECT_ERR;
  return happened;
}

// The key of the reason, for the codes that have words of their own.
const char* reasonKey(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
      return "why_updateUnreachable";
    case CURLE_OPERATION_TIMEDOUT:
      return "why_updateSlow";
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING:
      return "why_updateCutOff";
    case CURLE_TOO_MANY_REDIRECTS:
      return "why_updateRedirects";
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
      return "why_updateCertificate";
    case CURLE_FILESIZE_EXCEEDED:
      return "why_updateTooLarge";
    default:
      return nullptr;
  }
}

}  // namespace

Fetch::Fetch(RunLoop& loop, const std::string& address, const FetchLimits& limits, Take take,
             Done done)
    : loop_(loop),
      take_(std::move(take)),
      done_(std::move(done)),
      room_(limits.largest),
      sockets_(::epoll_create1(EPOLL_CLOEXEC)) {
  initialiseOnce();
  transfers_ = curl_multi_init();
  transfer_ = curl_easy_init();
  if (!sockets_.isOpen() || transfers_ == nullptr || transfer_ == nullptr) {
    timer_ = loop_.runSoon([this] {
      const Done ended = std::move(done_);
      ended(Failure{localisationString("why_updateTransfer", "", "curl")});
    });
    return;
  }
  watch_ = loop_.watchReadable(sockets_.number(), [this] { serveSockets(); });
  prepare(address, limits);
  // From here on curl asks for its timer and its sockets.
  curl_multi_add_handle(transfers_, transfer_);
}

Fetch::~Fetch() {
  loop_.cancel(watch_);
  if (transfers_ != nullptr)
    curl_multi_setopt(transfers_, CURLMOPT_TIMERFUNCTION, nullptr);
  loop_.cancel(timer_);
  if (transfers_ != nullptr && transfer_ != nullptr)
    curl_multi_remove_handle(transfers_, transfer_);
  curl_easy_cleanup(transfer_);
  curl_multi_cleanup(transfers_);
}

void Fetch::prepare(const std::string& address, const FetchLimits& limits) {
  curl_multi_setopt(transfers_, CURLMOPT_SOCKETFUNCTION, watchSocket);
  curl_multi_setopt(transfers_, CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(transfers_, CURLMOPT_TIMERFUNCTION, setTimer);
  curl_multi_setopt(transfers_, CURLMOPT_TIMERDATA, this);

  const char* protocols = isSecure(address) ? "https" : "http,https";
  curl_easy_setopt(transfer_, CURLOPT_URL, address.c_str());
  curl_easy_setopt(transfer_, CURLOPT_PROTOCOLS_STR, protocols);
  curl_easy_setopt(transfer_, CURLOPT_REDIR_PROTOCOLS_STR, protocols);
  curl_easy_setopt(transfer_, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(transfer_, CURLOPT_MAXREDIRS, mostRedirections);
  curl_easy_setopt(transfer_, CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
  curl_easy_setopt(transfer_, CURLOPT_USERAGENT, Bundle::main().name().c_str());
  curl_easy_setopt(transfer_, CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(transfer_, CURLOPT_NOSIGNAL, 1L);
  // Else a cancelled look-up of a name would be waited for.
  curl_easy_setopt(transfer_, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(transfer_, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.largest));
  curl_easy_setopt(transfer_, CURLOPT_CONNECTTIMEOUT, static_cast<long>(limits.connect.count()));
  curl_easy_setopt(transfer_, CURLOPT_LOW_SPEED_LIMIT, slowestRate);
  curl_easy_setopt(transfer_, CURLOPT_LOW_SPEED_TIME, static_cast<long>(limits.stalled.count()));
  curl_easy_setopt(transfer_, CURLOPT_TIMEOUT, static_cast<long>(limits.whole.count()));
  curl_easy_setopt(transfer_, CURLOPT_WRITEFUNCTION, takeBytes);
  curl_easy_setopt(transfer_, CURLOPT_WRITEDATA, this);
}

void Fetch::serveSockets() {
  std::array<epoll_event, 8> events{};
  const int count =
      ::epoll_wait(sockets_.number(), events.data(), static_cast<int>(events.size()), 0);
  for (int index = 0; index < count; ++index) {
    const epoll_event& event = events.at(static_cast<std::size_t>(index));
    advance(event.data.fd, curlEvents(event.events));
  }
  endWhenOver();
}

void Fetch::advance(curl_socket_t socket, int events) {
  int running = 0;
  curl_multi_socket_action(transfers_, socket, events, &running);
}

// Does not touch the object after telling of the end: it may be gone then.
void Fetch::endWhenOver() {
  int left = 0;
  const CURLMsg* message = curl_multi_info_read(transfers_, &left);
  if (message == nullptr || message->msg != CURLMSG_DONE || !done_)
    return;
  const Outcome<void> outcome = outcomeOf(message->data.result);
  const Done done = std::exchange(done_, nullptr);
  done(outcome);
}

Outcome<void> Fetch::outcomeOf(CURLcode code) {
  long status = 0;
  curl_easy_getinfo(transfer_, CURLINFO_RESPONSE_CODE, &status);
  if (code != CURLE_OK)
    logFormat("updates             :-( {}: {} (status {})", currentAddress(),
              curl_easy_strerror(code), status);
  if (refusal_)
    return *refusal_;
  if (code == CURLE_HTTP_RETURNED_ERROR || (code == CURLE_OK && status != statusOk))
    return Failure{localisationString("why_updateStatus", "", fmt::to_string(status))};
  if (code == CURLE_OK)
    return {};
  if (code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_URL_MALFORMAT ||
      code == CURLE_LOGIN_DENIED)
    return Failure{localisationString("why_updateUnsafe", "", currentAddress())};
  if (const char* key = reasonKey(code))
    return Failure{localisationString(key)};
  return Failure{localisationString("why_updateTransfer", "", curl_easy_strerror(code))};
}

std::string Fetch::currentAddress() {
  const char* address = nullptr;
  // An address that was refused is the one that a redirection named.
  curl_easy_getinfo(transfer_, CURLINFO_REDIRECT_URL, &address);
  if (address == nullptr)
    curl_easy_getinfo(transfer_, CURLINFO_EFFECTIVE_URL, &address);
  return address != nullptr ? address : "";
}

std::size_t Fetch::takeBytes(const char* bytes, std::size_t one, std::size_t count, void* fetch) {
  Fetch& self = *static_cast<Fetch*>(fetch);
  const std::size_t size = one * count;
  if (size > self.room_) {
    self.refusal_ = Failure{localisationString("why_updateTooLarge")};
    return 0;
  }
  self.room_ -= size;
  const Outcome<void> taken = self.take_(std::string_view(bytes, size));
  if (taken)
    return size;
  self.refusal_ = Failure{taken.reason()};
  return 0;
}

int Fetch::watchSocket(CURL*, curl_socket_t socket, int wanted, void* fetch, void*) {
  Fetch& self = *static_cast<Fetch*>(fetch);
  if (wanted == CURL_POLL_REMOVE) {
    ::epoll_ctl(self.sockets_.number(), EPOLL_CTL_DEL, socket, nullptr);
    return 0;
  }
  epoll_event event{};
  event.events = epollEvents(wanted);
  event.data.fd = socket;
  // A new socket may have the number of one that was closed, so what curl knows is not relied on.
  if (::epoll_ctl(self.sockets_.number(), EPOLL_CTL_MOD, socket, &event) != 0)
    ::epoll_ctl(self.sockets_.number(), EPOLL_CTL_ADD, socket, &event);
  return 0;
}

int Fetch::setTimer(CURLM*, long milliseconds, void* fetch) {
  Fetch& self = *static_cast<Fetch*>(fetch);
  self.loop_.cancel(std::exchange(self.timer_, 0));
  if (milliseconds >= 0)
    self.timer_ = self.loop_.runAfter(std::chrono::milliseconds(milliseconds), [&self] {
      self.timer_ = 0;
      self.advance(CURL_SOCKET_TIMEOUT, 0);
      self.endWhenOver();
    });
  return 0;
}

}  // namespace tessarin
