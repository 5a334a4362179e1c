// Requests of the stand-in: the first reply counts, and no second is taken.

#include "devhost/libe/request.h"

#include <gtest/gtest.h>

using devhost::Reply;
using devhost::Request;

TEST(Request, IsUnansweredAtFirst) {
  const Request request;
  EXPECT_EQ(request.reply(), Reply::kNone);
  EXPECT_FALSE(request.answered_again());
}

TEST(Request, TakesASuccess) {
  Request request;
  EXPECT_TRUE(request.SendSuccess(nullptr));
  EXPECT_EQ(request.reply(), Reply::kSuccess);
  EXPECT_FALSE(request.answered_again());
}

TEST(Request, TakesAnErrorWithItsTwoTexts) {
  Request request;
  EXPECT_TRUE(request.SendError("file error", "[x]: why"));
  EXPECT_EQ(request.reply(), Reply::kError);
  EXPECT_EQ(request.error(), "file error");
  EXPECT_EQ(request.detail(), "[x]: why");
  EXPECT_FALSE(request.answered_again());
}

TEST(Request, RefusesWhateverComesAfterASuccess) {
  Request request;
  request.SendSuccess(nullptr);
  EXPECT_FALSE(request.SendError("error", "detail"));
  EXPECT_TRUE(request.answered_again());
  EXPECT_FALSE(request.SendSuccess(nullptr));
  EXPECT_EQ(request.reply(), Reply::kSuccess);
  EXPECT_EQ(request.error(), "");
  EXPECT_EQ(request.detail(), "");
}

TEST(Request, RefusesWhateverComesAfterAnError) {
  Request request;
  request.SendError("first", "1");
  EXPECT_FALSE(request.SendSuccess(nullptr));
  EXPECT_TRUE(request.answered_again());
  EXPECT_FALSE(request.SendError("second", "2"));
  EXPECT_EQ(request.reply(), Reply::kError);
  EXPECT_EQ(request.error(), "first");
  EXPECT_EQ(request.detail(), "1");
}
