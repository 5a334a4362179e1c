#pragma once

#include <string>

#include "host/kae.h"

namespace devhost {

enum class Reply { kNone, kSuccess, kError };

// The request behind a kaeRequest handle: it keeps the first reply and takes no second. Every
// kaeRequest that reaches this host library has to be one of these.
class Request : public kaeRequest {
 public:
  Reply reply() const { return reply_; }

  // The two texts of an error reply.
  const std::string& error() const { return error_; }
  const std::string& detail() const { return detail_; }

  // Whether a further reply came after the first.
  bool answered_again() const { return answered_again_; }

 private:
  friend class ::kaeRequest;

  bool Answer(Reply reply, const std::string& error, const std::string& detail);

  Reply reply_ = Reply::kNone;
  std::string error_;
  std::string detail_;
  bool answered_again_ = false;
};

}  // namespace devhost
