#include "daemon/file/JsonPlaces.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "daemon/file/JsonText.h"

namespace Routing::Pim::Bsr {

using nlohmann::json;

namespace {

// Reads the text, and says how far the parser has read.
class CountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char *;
  using reference = const char &;

  CountingIterator(const char *at, const char **furthest) : at_(at), furthest_(furthest) {}
  reference operator*() const { return *at_; }
  CountingIterator &operator++() {
    *furthest_ = ++at_;
    return *this;
  }
  bool operator==(const CountingIterator &other) const { return at_ == other.at_; }
  bool operator!=(const CountingIterator &other) const { return at_ != other.at_; }

 private:
  const char *at_;
  const char **furthest_;
};

// Notes where the members and elements of these paths begin.
class Locator : public nlohmann::json_sax<json> {
 public:
  using Wanted = std::map<std::string, std::string>;  // by path, LINE:COLUMN
  using Repeats = std::map<std::string, std::vector<std::string>>;

  Locator(std::string_view text, Wanted &wanted) : text_(text), read_(text.data()), end_(read_), wanted_(wanted) {}
  void run() {
    json::sax_parse(CountingIterator(text_.data(), &read_), CountingIterator(text_.data() + text_.size(), &read_), this,
                    json::input_format_t::json, true, true);
  }

  /// Of the wanted paths, where they come again.
  const Repeats &repeats() const { return repeats_; }

  bool null() override { return value(); }
  bool boolean(bool) override { return value(); }
  bool number_integer(number_integer_t) override { return value(); }
  bool number_unsigned(number_unsigned_t) override { return value(); }
  bool number_float(number_float_t, const string_t &) override { return value(); }
  bool string(string_t &) override { return value(); }
  bool binary(binary_t &) override { return false; }
  bool start_object(size_t) override { return open(false); }
  bool start_array(size_t) override { return open(true); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool parse_error(size_t, const std::string &, const nlohmann::detail::exception &) override { return false; }

  bool key(string_t &name) override {
    name_ = name;
    note(pathTo(levels_.back().path, name_));
    end_ = read_;
    return true;
  }

 private:
  struct Level {
    std::string path;
    bool isArray;
    size_t index = 0;
  };

  // Where what is read now begins: behind what came before it, and what parts the two.
  const char *begin() const {
    const char *at = end_;
    const char *const end = text_.data() + text_.size();
    while (at < end) {
      if (std::string_view(" \t\r\n,:").find(*at) != std::string_view::npos) {
        ++at;
      } else if (*at == '/' && at + 1 < end) {
        const std::string_view rest(at, static_cast<size_t>(end - at));
        const std::string_view mark = rest[1] == '*' ? "*/" : "\n";
        const size_t found = rest.find(mark, 2);
        at = found == rest.npos ? end : at + found + mark.size();
      } else {
        break;
      }
    }
    return at;
  }
  void note(const std::string &path) {
    const auto wanted = wanted_.find(path);
    if (wanted == wanted_.end()) return;
    std::string &place = wanted->second.empty() ? wanted->second : repeats_[path].emplace_back();
    place = placeOf(text_, static_cast<size_t>(begin() - text_.data()));
  }
  std::string nextPath() const {
    if (levels_.empty()) return "";
    const Level &level = levels_.back();
    return pathTo(level.path, level.isArray ? std::to_string(level.index) : name_);
  }
  void noteElement() {
    if (!levels_.empty() && levels_.back().isArray) note(nextPath());
  }
  void ended() {
    end_ = read_;
    if (!levels_.empty()) ++levels_.back().index;
  }
  bool value() {
    noteElement();
    ended();
    return true;
  }
  bool open(bool isArray) {
    if (levels_.size() == deepest) return false;
    noteElement();
    levels_.push_back({nextPath(), isArray});
    end_ = read_;
    return true;
  }
  bool close() {
    levels_.pop_back();
    ended();
    return true;
  }

  static constexpr size_t deepest = 64;  // more than any configuration has

  const std::string_view text_;
  const char *read_;  // by the parser, so far
  const char *end_;   // of what came before
  Wanted &wanted_;
  Repeats repeats_;
  std::vector<Level> levels_;
  std::string name_;
};

}  // namespace

void findPlaces(std::string_view text, Findings &findings) {
  Locator::Wanted wanted = std::move(findings.at);
  for (const auto *list : {&findings.errors, &findings.warnings}) {
    for (const Finding &finding : *list) wanted[finding.place];
  }
  if (wanted.empty()) return;
  Locator locator(text, wanted);
  locator.run();
  for (auto *list : {&findings.errors, &findings.warnings}) {
    for (Finding &finding : *list) {
      finding.at =
          finding.repeat == 0 ? wanted[finding.place] : locator.repeats().at(finding.place).at(finding.repeat - 1);
    }
  }
  findings.at = std::move(wanted);
}

std::string placeOf(std::string_view text, size_t length) {
  const std::string_view read = text.substr(0, length);
  const auto line = std::count(read.begin(), read.end(), '\n') + 1;
  const size_t lineStart = read.rfind('\n') + 1;  // npos + 1 is 0
  return std::to_string(line) + ":" + std::to_string(read.size() - lineStart + 1);
}

}  // namespace Routing::Pim::Bsr
