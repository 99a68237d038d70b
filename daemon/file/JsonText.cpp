#include "daemon/file/JsonText.h"

#include <algorithm>
#include <map>

#include "daemon/file/JsonErrors.h"
#include "daemon/file/JsonPlaces.h"

namespace Routing::Pim::Bsr {

using nlohmann::json;

namespace {

// Builds the value from the parser's events, and knows where it is.
class Builder : public nlohmann::json_sax<json> {
 public:
  Builder(std::string_view text, Findings &findings) : text_(text), findings_(findings) {}
  json take() { return std::move(root_); }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t &) override { return add(value); }
  bool string(string_t &value) override { return add(std::move(value)); }
  bool binary(binary_t &) override { return false; }
  bool start_object(size_t) override { return open(json::object()); }
  bool start_array(size_t) override { return open(json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t &name) override {
    const Level &level = levels_.back();
    twice_ = level.value && level.value->contains(name);
    name_ = std::move(name);
    if (twice_) {
      std::string path = pathTo(level.path, name_);
      const size_t repeat = ++repeats_[path];
      findings_.errors.push_back({std::move(path), "is given twice", "", repeat});
    }
    return true;
  }

  bool parse_error(size_t position, const std::string &, const nlohmann::detail::exception &error) override {
    findings_.errors.push_back(syntaxErrorFrom(text_, reason(error.what()), position));
    root_ = nullptr;
    return false;
  }

 private:
  // An open object or array. `value` is null inside what is left out.
  struct Level {
    json *value;
    std::string path;
    size_t index = 0;
  };

  static constexpr size_t deepest = 32;  // far more than any configuration has

  // The parser's message without its own place: "[exception] parse error at line 1, column 2: reason".
  static std::string_view reason(std::string_view what) {
    for (const std::string_view end : {"] ", ": "}) {
      if (const size_t found = what.find(end); found != what.npos) what.remove_prefix(found + end.size());
    }
    return what;
  }

  // Puts a value into the innermost level; null where it is left out.
  json *place(json &&value) {
    if (levels_.empty()) return &(root_ = std::move(value));
    Level &level = levels_.back();
    if (!level.value || std::exchange(twice_, false)) return nullptr;
    if (level.value->is_array()) return &level.value->emplace_back(std::move(value));
    return &(level.value->operator[](name_) = std::move(value));
  }
  bool add(json &&value) {
    place(std::move(value));
    countElement();
    return true;
  }
  bool open(json &&value) {
    if (levels_.size() == deepest) {
      findings_.error(levels_.back().path, "is nested too deeply");
      return false;
    }
    std::string path = levels_.empty() ? "" : pathTo(levels_.back().path, nextName());
    json *placed = place(std::move(value));
    levels_.push_back({placed, std::move(path)});
    return true;
  }
  bool close() {
    levels_.pop_back();
    countElement();
    return true;
  }
  std::string nextName() const {
    const Level &level = levels_.back();
    return level.value && level.value->is_array() ? std::to_string(level.index) : name_;
  }
  void countElement() {
    if (!levels_.empty()) ++levels_.back().index;
  }

  const std::string_view text_;
  Findings &findings_;
  json root_;
  std::vector<Level> levels_;
  std::string name_;
  bool twice_ = false;
  std::map<std::string, size_t> repeats_;  // of each member that is given twice
};

}  // namespace

json parseJson(std::string_view text, Findings &findings) {
  // The parser would take it for the end.
  if (const size_t end = text.find('\0'); end != text.npos) {
    findings.error(placeOf(text, end), "a NUL byte may not be in the file");
    return nullptr;
  }
  Builder builder(text, findings);
  json::sax_parse(text.begin(), text.end(), &builder, json::input_format_t::json, true, true);
  return builder.take();
}

std::string pathTo(std::string_view path, std::string_view name) { return std::string(path).append("/").append(name); }

}  // namespace Routing::Pim::Bsr
