/// Traces for developers and support: modules with a level each, and the sinks that their lines go to.
///
/// A file that traces has a static Module and says TRACELET(trace, level, text). A statement whose level is
/// off costs a load and a branch; its text is never formatted, nor is any while there is no sink. Levels: 1 for drops
/// and errors, 4 for accepted messages and changes of state, 5 for timers, 9 for the entry of every handler.
///
/// What operators are told are events, which are made elsewhere; traces never replace them.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tracelet {

/// Where lines go. Its owner registers it with Registry::sinkAdd(); its destruction takes it out again. It is
/// called in the middle of whatever traces, so it must neither trace nor throw.
class Sink {
 public:
  Sink() = default;
  Sink(const Sink &) = delete;
  Sink &operator=(const Sink &) = delete;
  virtual ~Sink();
  /// One trace statement, without an end of line. The texts are gone when this returns, and the process may abort
  /// then: nothing may be held back.
  virtual void line(std::string_view module, int level, std::string_view text) = 0;
  /// How many lines could not be written.
  virtual uint64_t dropped() const { return 0; }
};

/// A named source of traces: a static object of the file that traces. Several files may share a name. The name
/// must outlive the module, so it is a string literal.
class Module {
 public:
  explicit Module(const char *name);
  ~Module();
  Module(const Module &) = delete;
  Module &operator=(const Module &) = delete;

  /// Statements up to this level are written; -1 when tracing is disabled.
  int level() const { return level_; }
  /// Whether statements of this level go anywhere: it is no higher, and there is a sink.
  bool isOn(int level) const { return level <= on_; }
  /// Passes a line to all sinks, whatever the level: TRACELET has compared it already.
  void emit(int level, const std::ostringstream &text) const;

 private:
  friend class Registry;
  const char *name_;
  int level_;
  int on_;  // the level, or -1 while there is no sink
};

/// All modules and sinks of the process. It owns none of them. One instance lives until the process ends.
class Registry {
 public:
  /// The level with which a module starts.
  static constexpr int defaultLevel = 3;

  static Registry &instance();
  /// Sets the level of all modules of this name; "*" stands for every module. False when there is none. Modules
  /// are static, so all are there when a program starts.
  bool levelIs(std::string_view module, int level);
  /// Turns every statement off for the rest of the process's life (TRACELET_DISABLE).
  void disable();
  bool disabled() const { return disabled_; }
  /// Registers the sink, which must not be registered yet.
  void sinkAdd(Sink &sink);
  void sinkRemove(Sink &sink);
  /// Passes a line to every sink, whatever the levels.
  void write(std::string_view module, int level, std::string_view text);
  /// How many lines the present sinks have dropped.
  uint64_t dropped() const;
  /// Names and levels, each name once, sorted.
  std::vector<std::pair<std::string, int>> levels() const;

 private:
  friend class Module;
  /// The module's level, or what makes it one that counts, has changed.
  void settle(Module &module) const { module.on_ = sinks_.empty() ? -1 : module.level_; }

  std::vector<Module *> modules_;
  std::vector<Sink *> sinks_;
  bool disabled_ = false;
};

}  // namespace Tracelet

/// Traces a text that is written with `<<`: TRACELET(trace, 4, "Added prefix " << prefix << " into trie");
/// The text is evaluated only if the level is on, so it must have no side effects.
#define TRACELET(module, traceLevel, text)        \
  do {                                            \
    if ((module).isOn(traceLevel)) [[unlikely]] { \
      std::ostringstream traceText;               \
      traceText << text;                          \
      (module).emit(traceLevel, traceText);       \
    }                                             \
  } while (false)
