#include "platform/tracelet/Tracelet.h"

#include <map>

namespace Tracelet {

Sink::~Sink() { Registry::instance().sinkRemove(*this); }

Module::Module(const char *name) : name_(name), level_(Registry::defaultLevel) {
  Registry::instance().modules_.push_back(this);
  Registry::instance().settle(*this);
}

Module::~Module() { std::erase(Registry::instance().modules_, this); }

void Module::emit(int level, const std::ostringstream &text) const {
  Registry::instance().write(name_, level, text.view());
}

Registry &Registry::instance() {
  static Registry &registry = *new Registry;  // never destroyed: modules and sinks are static too
  return registry;
}

bool Registry::levelIs(std::string_view module, int level) {
  const bool every = module == "*";
  bool known = every;
  for (Module *each : modules_) {
    if (!every && each->name_ != module) continue;
    if (!disabled_) each->level_ = level;
    settle(*each);
    known = true;
  }
  return known;
}

void Registry::disable() {
  disabled_ = true;
  for (Module *module : modules_) {
    module->level_ = -1;
    settle(*module);
  }
}

void Registry::sinkAdd(Sink &sink) {
  sinks_.push_back(&sink);
  for (Module *module : modules_) settle(*module);
}

void Registry::sinkRemove(Sink &sink) {
  std::erase(sinks_, &sink);
  for (Module *module : modules_) settle(*module);
}

void Registry::write(std::string_view module, int level, std::string_view text) {
  for (size_t i = 0; i < sinks_.size(); ++i) sinks_[i]->line(module, level, text);
}

uint64_t Registry::dropped() const {
  uint64_t dropped = 0;
  for (const Sink *sink : sinks_) dropped += sink->dropped();
  return dropped;
}

std::vector<std::pair<std::string, int>> Registry::levels() const {
  std::map<std::string, int> byName;
  for (const Module *module : modules_) byName.emplace(module->name_, module->level_);
  return {byName.begin(), byName.end()};
}

}  // namespace Tracelet
