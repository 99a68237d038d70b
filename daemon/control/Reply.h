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

}  // namespace Control
