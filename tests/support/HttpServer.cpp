#include "support/HttpServer.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

#include "classShared/TextAdditions.h"

namespace tessarin::test {

namespace {

constexpr std::chrono::milliseconds soonAgain(2);

sockaddr* plain(sockaddr_in& address) {
  return reinterpret_cast<sockaddr*>(&address);
}

std::string headOf(const HttpAnswer& answer) {
  std::string head = fmt::format("HTTP/1.1 {} Answer\r\nConnection: close\r\n", answer.status);
  if (!answer.location.empty())
    head += "Location: " + answer.location + "\r\n";
  if (answer.tellsLength)
    head += fmt::format("Content-Length: {}\r\n", answer.announced.value_or(answer.body.size()));
  return head + "\r\n";
}

}  // namespace

HttpServer::HttpServer(RunLoop& loop)
    : loop_(loop), socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  const bool isListening = ::bind(socket_.number(), plain(address), size) == 0 &&
                           ::listen(socket_.number(), 8) == 0 &&
                           ::getsockname(socket_.number(), plain(address), &size) == 0;
  EXPECT_TRUE(isListening) << "no socket on the loopback";
  port_ = ntohs(address.sin_port);
  watch_ = loop_.watchReadable(socket_.number(), [this] { accept(); });
}

HttpServer::~HttpServer() {
  loop_.cancel(watch_);
  while (!connections_.empty())
    close(connections_.begin()->first);
}

std::string HttpServer::address(const std::string& path) const {
  return fmt::format("http://127.0.0.1:{}{}", port_, path);
}

void HttpServer::accept() {
  const int number = ::accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (number < 0)
    return;
  Connection& connection = connections_[number];
  connection.socket = Descriptor(number);
  connection.watch = loop_.watchReadable(number, [this, number] { read(number); });
}

void HttpServer::read(int number) {
  Connection& connection = connections_.at(number);
  std::array<char, 4096> piece{};
  const ssize_t count = ::recv(number, piece.data(), piece.size(), 0);
  if (count <= 0)
    return close(number);
  connection.request.append(piece.data(), static_cast<std::size_t>(count));
  if (!startsWith(connection.request, "GET ")) {  // such as TLS
    static_cast<void>(::send(number, "HTTP/1.1 400 Bad\r\n\r\n", 20, MSG_NOSIGNAL));
    return close(number);
  }
  if (connection.hasAnswer || !contains(connection.request, "\r\n\r\n"))
    return;
  connection.hasAnswer = true;
  answer(connection);
}

void HttpServer::answer(Connection& connection) {
  const auto words = split(textUpTo(connection.request, "\r\n"), " ");
  const std::string path(words.size() > 1 ? words[1] : "");
  requests.push_back(path);
  const auto found = answers.find(path);
  HttpAnswer answer = found != answers.end() ? found->second : HttpAnswer{"not here", 404};
  if (answer.isSilent)
    return;
  connection.left =
      headOf(answer) + answer.body.substr(0, answer.cutAt.value_or(std::string::npos));
  connection.pieceSize = answer.pieceSize;
  write(connection.socket.number());
}

void HttpServer::write(int number) {
  Connection& connection = connections_.at(number);
  const std::size_t size = std::min(connection.left.size(), connection.pieceSize);
  const ssize_t count = ::send(number, connection.left.data(), size, MSG_NOSIGNAL);
  if (count < 0 && errno != EAGAIN)
    return close(number);
  connection.left.erase(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  if (connection.left.empty())
    return close(number);
  connection.task = loop_.runAfter(soonAgain, [this, number] { write(number); });
}

void HttpServer::close(int number) {
  const auto found = connections_.find(number);
  loop_.cancel(found->second.watch);
  loop_.cancel(found->second.task);
  connections_.erase(found);
}

}  // namespace tessarin::test
