// Implements the host's classes.

#include "host/kae.h"

#include "devhost/libe/request.h"

using devhost::Reply;
using devhost::Request;

kaePlugin::~kaePlugin() = default;

kaeCPLayer::kaeCPLayer() = default;
kaeCPLayer::~kaeCPLayer() = default;

bool kaeRequest::SendSuccess(kaml_content* /*body*/) {
  return static_cast<Request*>(this)->Answer(Reply::kSuccess, "", "");
}

bool kaeRequest::SendError(const std::string& error, const std::string& detail) {
  return static_cast<Request*>(this)->Answer(Reply::kError, error, detail);
}

bool Request::Answer(Reply reply, const std::string& error, const std::string& detail) {
  if (reply_ != Reply::kNone) {
    answered_again_ = true;
    return false;
  }
  reply_ = reply;
  error_ = error;
  detail_ = detail;
  return true;
}
