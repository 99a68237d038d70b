/// Traces: modules with a level each, and the sinks that their lines go to.
///
/// A statement that is off costs a load and a branch; its text is never formatted. Levels: 1 drops
/// and errors, 4 accepted messages and changes of state, 5 timers, 9 entries of handlers.
#pragma once

#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tracelet {

/// Where lines go. A sink is registered with Registry and leaves it with its own destruction.
class Sink {
 public:
  Sink() = default;
  Sink(const Sink &) = delete;
  Sink &operator=(const Sink &) = delete;
  virtual ~Sink();
  virtual void line(std::string_view module, int level, std::string_view text) = 0;
  virtual void flush() {}
};

/// A named source of traces; a static object in the file that traces. Several may share a name,
/// which outlives them (a string literal).
class Module {
 public:
  explicit Module(const char *name);
  ~Module();
  Module(const Module &) = delete;
  Module &operator=(const Module &) = delete;

  const char *name() const { return name_; }
  /// Statements up to this level are on.
  int level() const { return level_; }
  void emit(int level, const std::ostringstream &text) const;

 private:
  friend class Registry;
  const char *name_;
  int level_;
};

/// All modules and sinks of the process.
class Registry {
 public:
  static constexpr int defaultLevel = 3;

  static Registry &instance();
  /// Sets the level of every module of this name, now and later registered; "*" is every module.
  /// False when there is no such module.
  bool levelIs(std::string_view module, int level);
  /// Turns every statement off for good (TRACELET_DISABLE).
  void disable();
  bool disabled() const { return disabled_; }
  void sinkAdd(Sink &sink);
  void sinkRemove(Sink &sink);
  /// Passes a line to every sink, whatever the levels.
  void write(std::string_view module, int level, std::string_view text);
  void flush();
  /// Names and levels, each name once, sorted.
  std::vector<std::pair<std::string, int>> levels() const;

 private:
  friend class Module;
  int levelOf(std::string_view module) const;

  std::vector<Module *> modules_;
  std::vector<Sink *> sinks_;
  std::map<std::string, int, std::less<>> asked_;  // levels by name, for modules yet to come too
  int others_ = defaultLevel;
  bool disabled_ = false;
};

}  // namespace Tracelet

/// TRACELET(module, 4, "Added prefix " << prefix << " into trie");
#define TRACELET(module, traceLevel, text)               \
  do {                                                   \
    if ((module).level() >= (traceLevel)) [[unlikely]] { \
      std::ostringstream traceText;                      \
      traceText << text;                                 \
      (module).emit(traceLevel, traceText);              \
    }                                                    \
  } while (false)
