#pragma once

#include <functional>
#include <string>
#include <utility>

#include "host/kae.h"

namespace devhost {

enum class Reply { kNone, kSuccess, kError };

// The request behind a kaeRequest handle. It keeps the first reply and rejects any other. Every
// kaeRequest passed to this host library must be one of these.
class Request : public kaeRequest {
 public:
  Request() = default;

  // `at_reply` is called for each reply, before it is kept or rejected.
  explicit Request(std::function<void()> at_reply) : at_reply_(std::move(at_reply)) {}

  Reply reply() const { return reply_; }

  // The two texts of an error reply.
  const std::string& error() const { return error_; }
  const std::string& detail() const { return detail_; }

  // Whether a success reply had a body.
  bool has_body() const { return has_body_; }

  // Whether there was more than one reply.
  bool answered_again() const { return answered_again_; }

 private:
  friend class ::kaeRequest;

  bool Answer(Reply reply, const std::string& error, const std::string& detail);

  std::function<void()> at_reply_;
  Reply reply_ = Reply::kNone;
  bool has_body_ = false;
  std::string error_;
  std::string detail_;
  bool answered_again_ = false;
};

}  // namespace devhost
