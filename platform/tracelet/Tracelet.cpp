#include "platform/tracelet/Tracelet.h"

#include <algorithm>

namespace Tracelet {

namespace {

constexpr int off = -1;

}  // namespace

Sink::~Sink() { Registry::instance().sinkRemove(*this); }

Module::Module(const char *name) : name_(name) {
  Registry &registry = Registry::instance();
  level_ = registry.levelOf(name);
  registry.modules_.push_back(this);
}

Module::~Module() { std::erase(Registry::instance().modules_, this); }

void Module::emit(int level, const std::ostringstream &text) const {
  Registry::instance().write(name_, level, text.view());
}

Registry &Registry::instance() {
  static Registry &registry = *new Registry;  // never destroyed: modules and sinks are static too
  return registry;
}

int Registry::levelOf(std::string_view module) const {
  if (disabled_) return off;
  const auto asked = asked_.find(module);
  return asked == asked_.end() ? others_ : asked->second;
}

bool Registry::levelIs(std::string_view module, int level) {
  const bool every = module == "*";
  if (every) {
    asked_.clear();
    others_ = level;
  } else {
    asked_.insert_or_assign(std::string(module), level);
  }
  bool known = every;
  for (Module *each : modules_) {
    if (!every && each->name_ != module) continue;
    each->level_ = levelOf(each->name_);
    known = true;
  }
  return known;
}

void Registry::disable() {
  disabled_ = true;
  for (Module *module : modules_) module->level_ = off;
}

void Registry::sinkAdd(Sink &sink) {
  if (std::find(sinks_.begin(), sinks_.end(), &sink) == sinks_.end()) sinks_.push_back(&sink);
}

void Registry::sinkRemove(Sink &sink) { std::erase(sinks_, &sink); }

void Registry::write(std::string_view module, int level, std::string_view text) {
  for (size_t i = 0; i < sinks_.size(); ++i) sinks_[i]->line(module, level, text);
}

std::vector<std::pair<std::string, int>> Registry::levels() const {
  std::map<std::string, int> byName;
  for (const Module *module : modules_) byName.emplace(module->name_, module->level_);
  return {byName.begin(), byName.end()};
}

}  // namespace Tracelet
