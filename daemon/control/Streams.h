/// Streams of the control protocol: who subscribes gets the rows of nouns, and then each change. docs/control.md
/// describes every line.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/control/Request.h"

namespace Control {

/// Grows only when a client that keeps to an earlier one would no longer understand the agent.
inline constexpr int protocolVersion = 1;

/// Seconds between two signs of life on a stream, and after how many without one a client gives its agent up.
inline constexpr double heartbeatInterval = 15, silenceMost = 45;

/// The stream of events, which is subscribed to like a noun.
inline constexpr std::string_view eventsNoun = "events";

/// A noun that can be subscribed to: an event tells of every change of its rows.
struct FollowedNoun {
  const char *name;
  std::span<const char *const> key;  ///< the columns that tell its rows apart; none where there is one row
};
/// Null when there is none of this name.
const FollowedNoun *followedOf(std::string_view noun);
/// Their names, as an error shows them, events included.
std::string followedNames();

/// The row's columns of the key, as JSON.
std::string keyOf(std::span<const char *const> key, const Rows &row);
/// The row without what changes by itself, and of which no event tells: times that are relative to now, counts, and
/// what the last Bootstrap message announced.
Rows lastingOf(const Rows &row);

/// The words of a text that blanks separate.
std::vector<std::string> wordsOf(std::string_view text);

}  // namespace Control
