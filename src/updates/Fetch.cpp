#include "updates/Fetch.h"

#include <fmt/format.h>

#include <QNetworkProxyFactory>
#include <QNetworkReply>
#include <utility>

#include "classShared/log.h"
#include "platform/Bundle.h"
#include "prefs/utilsAlert.h"
#include "updates/address.h"

namespace tessarin {

namespace {

constexpr int mostRedirections = 5;
constexpr int statusOk = 200;
// What is read of the network before it was taken.
constexpr qint64 bufferSize = 256L * 1024;

QNetworkRequest requestFor(const QUrl& address, const FetchLimits& limits) {
  QNetworkRequest request(address);
  request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                       QNetworkRequest::ManualRedirectPolicy);
  request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
  request.setTransferTimeout(static_cast<int>(std::chrono::milliseconds(limits.stalled).count()));
  request.setHeader(QNetworkRequest::UserAgentHeader,
                    QByteArray::fromStdString(Bundle::main().name()));
  // Bytes are counted as they come.
  request.setRawHeader("Accept-Encoding", "identity");
  return request;
}

// The key of the reason, for the errors that have words of their own.
const char* reasonKey(QNetworkReply::NetworkError error) {
  switch (error) {
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::NetworkSessionFailedError:
      return "why_updateUnreachable";
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::OperationCanceledError:  // of the transfer's time limit
      return "why_updateSlow";
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::TemporaryNetworkFailureError:
      return "why_updateCutOff";
    case QNetworkReply::SslHandshakeFailedError:
      return "why_updateCertificate";
    default:
      return nullptr;
  }
}

}  // namespace

Fetch::Fetch(RunLoop& loop, const std::string& address, const FetchLimits& limits, Take take,
             Done done)
    : loop_(loop),
      limits_(limits),
      take_(std::move(take)),
      done_(std::move(done)),
      room_(limits.largest) {
  QNetworkProxyFactory::setUseSystemConfiguration(true);
  const auto giveUp = [this] { refuse({localisationString("why_updateSlow")}); };
  for (QTimer* timer : {&connecting_, &whole_}) {
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, giveUp);
  }
  if (limits.whole.count() > 0)
    whole_.start(limits.whole);
  ask(QUrl::fromEncoded(QByteArray::fromStdString(address)));
}

Fetch::~Fetch() {
  loop_.cancel(end_);
  reply_->disconnect();
}

void Fetch::ask(const QUrl& address) {
  reply_ = network_.get(requestFor(address, limits_));
  reply_->setReadBufferSize(bufferSize);
  connecting_.start(limits_.connect);
  QObject::connect(reply_, &QNetworkReply::requestSent, &connecting_, &QTimer::stop);
  QObject::connect(reply_, &QNetworkReply::readyRead, [this] { takeBytes(); });
  // Not at once: a reply must not be destroyed while it tells something.
  QObject::connect(reply_, &QNetworkReply::finished,
                   [this] { end_ = loop_.runSoon([this] { end(); }); });
}

void Fetch::follow(const QUrl& address) {
  const auto next =
      addressInDocument(reply_->url().toEncoded().toStdString(), address.toEncoded().toStdString());
  if (++redirections_ > mostRedirections)
    refusal_ = {localisationString("why_updateRedirects")};
  else if (!next)
    refusal_ = {localisationString("why_updateUnsafe", "", address.toString().toStdString())};
  if (!refusal_)
    ask(QUrl::fromEncoded(QByteArray::fromStdString(*next)));
}

void Fetch::takeBytes() {
  // The text behind any other status is nobody's document.
  if (refusal_ || status() != statusOk)
    return;
  const QByteArray bytes = reply_->readAll();
  const auto size = static_cast<std::uint64_t>(bytes.size());
  if (size > room_)
    return refuse({localisationString("why_updateTooLarge")});
  room_ -= size;
  const auto taken = take_(std::string_view(bytes.data(), static_cast<std::size_t>(bytes.size())));
  if (!taken)
    refuse({taken.reason()});
}

void Fetch::refuse(const Failure& reason) {
  if (!refusal_)
    refusal_ = reason;
  reply_->abort();
}

// Does not touch the object after telling of the end: it may be gone then.
void Fetch::end() {
  end_ = 0;
  takeBytes();
  const QUrl redirection = reply_->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
  if (!refusal_ && redirection.isValid()) {
    reply_->deleteLater();
    follow(redirection);
    if (!refusal_)
      return;
  }
  connecting_.stop();
  whole_.stop();
  const Outcome<void> ended = outcome();
  const Done done = std::exchange(done_, nullptr);
  done(ended);
}

int Fetch::status() const {
  return reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

Outcome<void> Fetch::outcome() const {
  const auto error = reply_->error();
  const std::string words = reply_->errorString().toStdString();
  if (error != QNetworkReply::NoError)
    logFormat("updates             :-( {}: {} (status {})", reply_->url().toString().toStdString(),
              words, status());
  if (refusal_)
    return *refusal_;
  if (const char* key = reasonKey(error))
    return Failure{localisationString(key)};
  if (status() != 0 && status() != statusOk)
    return Failure{localisationString("why_updateStatus", "", fmt::to_string(status()))};
  if (error == QNetworkReply::NoError)
    return {};
  return Failure{localisationString("why_updateTransfer", "", words)};
}

}  // namespace tessarin
