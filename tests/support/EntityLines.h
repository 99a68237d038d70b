/// All that an entity describes of itself, as lines of text.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "platform/kiv/Entity.h"

namespace Test {

/// A place as words, and the value there: "" for the mere presence of an element.
using Lines = std::map<std::string, std::string>;

class LineWriter : public Kiv::Visitor {
 public:
  LineWriter(Lines &lines, const std::string &at) : lines_(lines), at_(at) {}
  void attribute(std::string_view name, const Kiv::Value &value) override {
    lines_[at_ + std::string(name)] = Kiv::toText(value);
  }
  void child(std::string_view, const Kiv::Entity *) override {}
  void enter(std::string_view name) override { outer_ = std::exchange(at_, at_ + std::string(name) + ' '); }
  void key(const Kiv::Value &key) override { attribute(Kiv::toText(key), std::string()); }
  void element(const Kiv::Value &key, const Kiv::Value &value) override { attribute(Kiv::toText(key), value); }
  void element(const Kiv::Value &value, const Kiv::Entity &entity) override {
    key(value);
    LineWriter inner(lines_, at_ + Kiv::toText(value) + ' ');
    entity.describe(inner);
  }
  void leave() override { at_ = outer_; }

 private:
  Lines &lines_;
  std::string at_, outer_;
};

/// The lines of an entity, each behind `at`.
inline Lines linesOf(const Kiv::Entity &entity, const std::string &at = "") {
  Lines lines;
  LineWriter writer(lines, at);
  entity.describe(writer);
  return lines;
}

}  // namespace Test
