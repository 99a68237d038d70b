/// Reply lines that are made as they are sent.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace Control {

/// Takes the next piece of a reply line; an empty one ends it. The newline is not part of it.
using Send = std::function<void(std::string piece)>;

/// Makes the next piece when it is called: once the piece before is sent. It calls `send` once, at once or from the
/// loop later, so no more of a long reply is held than a client takes.
using Reply = std::function<void(const Send &send)>;

/// A reply of one piece.
inline Reply replyOf(std::string line) {
  return [line = std::move(line)](const Send &send) mutable { send(std::exchange(line, {})); };
}

/// A reply that is known later.
class LateReply {
 public:
  LateReply() : state_(std::make_shared<State>()) {}

  /// Once.
  void lineIs(std::string line) const {
    state_->line = std::move(line);
    if (state_->send) std::exchange(state_->send, nullptr)(std::exchange(state_->line, {}));
  }
  /// Asked for pieces when the line is known, or before.
  Reply reply() const {
    return [state = state_, begun = false](const Send &send) mutable {
      if (std::exchange(begun, true)) return send({});
      state->line.empty() ? void(state->send = send) : send(std::exchange(state->line, {}));
    };
  }

 private:
  struct State {
    std::string line;
    Send send;  // waits for it
  };
  std::shared_ptr<State> state_;
};

}  // namespace Control
