#pragma once

#include <string>

#include "host/kae.h"

namespace devhost {

enum class Reply { kNone, kSuccess, kError };

// The request behind a kaeRequest handle. It keeps the first reply and rejects any other. Every
// kaeRequest passed to this host library must be one of these.
class Request : public kaeRequest {
 public:
  Reply reply() const { return reply_; }

  // The two texts of an error reply.
  const std::string& error() const { return error_; }
  const std::string& detail() const { return detail_; }

  // Whether there was more than one reply.
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
