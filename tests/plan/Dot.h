/// Reads what the network's picture says, statement by statement.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace Planning {

struct DotStatement {
  std::string head;                               ///< "r1", "r1 -- r2", "graph", "node", "edge"
  std::map<std::string, std::string> attributes;  ///< without quotes; the last of each counts
};

/// One statement after the other; anything that is not well-formed fails the test.
class DotReader {
 public:
  explicit DotReader(std::string text) : text_(std::move(text)) {
    EXPECT_EQ(token(), "graph");
    name = token();
    EXPECT_EQ(token(), "{");
    for (std::string head = token(); head != "}" && !failed_; head = token()) {
      DotStatement statement{head, {}};
      std::string next = token();
      if (next == "--") {
        statement.head += " -- " + token();
        next = token();
      }
      want(next == "[", head);
      for (std::string key = token(); key != "]" && !failed_; key = token()) {
        if (key == ",") continue;
        want(token() == "=", key);
        statement.attributes[key] = token();
      }
      statements.push_back(std::move(statement));
    }
    EXPECT_EQ(token(), "");
  }

  /// The attributes of the only statement with this head.
  std::map<std::string, std::string> of(const std::string &head) const {
    std::vector<DotStatement> found;
    for (const DotStatement &each : statements) {
      if (each.head == head) found.push_back(each);
    }
    EXPECT_EQ(found.size(), 1u) << head;
    return found.empty() ? std::map<std::string, std::string>() : found.front().attributes;
  }

  std::string name;
  std::vector<DotStatement> statements;

 private:
  void want(bool good, const std::string &where) {
    EXPECT_TRUE(good) << "at " << where;
    failed_ |= !good;
  }
  std::string token() {
    place_ = std::min(text_.find_first_not_of(" \n", place_), text_.size());
    if (place_ == text_.size()) {
      failed_ = true;
      return "";
    }
    const size_t begin = place_++;
    if (text_[begin] == '"') return quoted();
    if (text_[begin] == '<') return markup(begin);
    if (text_.compare(begin, 2, "--") == 0) return ++place_, "--";
    if (std::string("[]{}=,").find(text_[begin]) != std::string::npos) return {text_[begin]};
    place_ = std::min(text_.find_first_of(" \n[]{}=,", place_), text_.size());
    return text_.substr(begin, place_ - begin);
  }
  std::string quoted() {
    std::string text;
    for (; place_ < text_.size() && text_[place_] != '"'; ++place_) {
      if (text_[place_] == '\\' && (text_[place_ + 1] == '"' || text_[place_ + 1] == '\\')) ++place_;
      text += text_[place_];
    }
    ++place_;
    return text;
  }
  std::string markup(size_t begin) {
    for (size_t depth = 1; depth > 0 && place_ < text_.size(); ++place_) {
      if (text_[place_] == '<') ++depth;
      if (text_[place_] == '>') --depth;
    }
    return text_.substr(begin + 1, place_ - begin - 2);
  }

  const std::string text_;
  size_t place_ = 0;
  bool failed_ = false;
};

}  // namespace Planning
