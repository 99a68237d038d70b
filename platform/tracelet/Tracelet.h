/// Traces: modules with a level each, and the sinks that their lines go to.
///
/// A statement that is off costs a load and a branch; its text is never formatted. Levels: 1 drops
/// and errors, 4 accepted messages and changes of state, 5 timers, 9 entries of handlers.
#pragma once

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace Tracelet {

/// Where lines go. A sink is registered with Registry and outlives its registration.
class Sink {
 public:
  virtual ~Sink() = default;
  virtual void line(std::string_view module, int level, std::string_view text) = 0;
  virtual void flush() {}
};

/// A named source of traces; a static object in the file that traces. Several may share a name.
class Module {
 public:
  explicit Module(const char *name);
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
  void sinkAdd(Sink &sink);
  void sinkRemove(Sink &sink);
  void flush();
  /// Names and levels, each name once, sorted.
  std::vector<std::pair<std::string, int>> levels() const;

 private:
  friend class Module;
  std::vector<Module *> modules_;
  std::vector<Sink *> sinks_;
  bool disabled_ = false;
};

}  // namespace Tracelet

/// TRACELET(module, 4, "Added prefix " << prefix << " into trie");
#define TRACELET(module, traceLevel, text)              \
  do {                                                  \
    if ((module).level() >= (traceLevel)) [[unlikely]] { \
      std::ostringstream traceText;                     \
      traceText << text;                                \
      (module).emit(traceLevel, traceText);             \
    }                                                   \
  } while (false)
