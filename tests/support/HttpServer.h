// A web server on the loopback that answers as badly as a test wants, on the test's own loop.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Descriptor.h"
#include "platform/RunLoop.h"

namespace tessarin::test {

struct HttpAnswer {
  std::string body = {};
  int status = 200;
  std::string location = {};                    // of a redirection
  std::optional<std::uint64_t> announced = {};  // the length that is told instead of the body's
  bool tellsLength = true;
  std::optional<std::size_t> cutAt = {};  // the connection ends behind these bytes of body
  bool isSilent = false;                  // nothing is ever answered
  std::size_t pieceSize = 64 * 1024;      // so much goes out in one turn of the loop
};

class HttpServer {
 public:
  explicit HttpServer(RunLoop& loop);
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;
  ~HttpServer();

  // "http://127.0.0.1:PORT" and the path.
  std::string address(const std::string& path) const;

  std::map<std::string, HttpAnswer> answers;  // by path; others are 404
  std::vector<std::string> requests;          // the paths that were asked for
  std::size_t open() const { return connections_.size(); }

 private:
  struct Connection {
    Descriptor socket;
    RunLoop::Id watch = 0;
    RunLoop::Id task = 0;
    std::string request;
    std::string left;  // of the answer
    std::size_t pieceSize = 0;
    bool hasAnswer = false;
  };

  void accept();
  void read(int number);
  void answer(Connection& connection);
  void write(int number);
  void close(int number);

  RunLoop& loop_;
  Descriptor socket_;
  RunLoop::Id watch_ = 0;
  int port_ = 0;
  std::map<int, Connection> connections_;  // by descriptor
};

}  // namespace tessarin::test
