// Implements the host's classes.

#include "host/kae.h"

#include "devhost/libe/observer.h"
#include "devhost/libe/request.h"

using devhost::observer;
using devhost::Reply;
using devhost::Request;
using devhost::TextOf;

kaePlugin::~kaePlugin() = default;

kaeCPLayer::kaeCPLayer() = default;
kaeCPLayer::~kaeCPLayer() = default;

bool kaeRequest::SendSuccess(kaml_content* body) {
  auto* const request = static_cast<Request*>(this);
  request->has_body_ = body != nullptr;
  const bool is_taken = request->Answer(Reply::kSuccess, "", "");
  if (observer != nullptr) {
    observer("SendSuccess", {TextOf(body)}, TextOf(is_taken));
  }
  return is_taken;
}

bool kaeRequest::SendError(const std::string& error, const std::string& detail) {
  const bool is_taken = static_cast<Request*>(this)->Answer(Reply::kError, error, detail);
  if (observer != nullptr) {
    observer("SendError", {TextOf(error.c_str()), TextOf(detail.c_str())}, TextOf(is_taken));
  }
  return is_taken;
}

bool Request::Answer(Reply reply, const std::string& error, const std::string& detail) {
  if (at_reply_) {
    at_reply_();
  }
  if (reply_ != Reply::kNone) {
    answered_again_ = true;
    return false;
  }
  reply_ = reply;
  error_ = error;
  detail_ = detail;
  return true;
}
