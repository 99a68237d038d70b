#include "view/RpOptions.h"

#include "view/Sentence.h"

namespace Routing::Pim::Bsr {

namespace {

// Besides the mode, what differs from `others`: "priority 9, holdTime 180".
std::string numbersBesides(const RpOptions &options, const RpOptions &others) {
  std::string text;
  const auto add = [&](const char *name, const auto &value, const auto &other) {
    if (value != other) text += sentence(text.empty() ? "" : ", ", name, ' ', value);
  };
  add("priority", options.priority, others.priority);
  if (options.holdTime != 0 && others.holdTime != 0) add("holdTime", options.holdTime, others.holdTime);
  add("hashMaskLen", options.hashMaskLen, others.hashMaskLen);
  return text;
}

}  // namespace

std::string textOf(const RpOptions &options) {
  std::string text = sentence(options.mode, " priority ", options.priority);
  if (options.holdTime != 0) text += sentence(" holdTime ", options.holdTime);
  return text + sentence(" hashMaskLen ", options.hashMaskLen);
}

std::string changeInWords(const RpOptions &now, const RpOptions &before) {
  const std::string numbers = numbersBesides(now, before), others = numbersBesides(before, now);
  if (now.mode == before.mode) return numbers.empty() ? "" : "now has " + numbers + "; it had " + others;
  const std::string with = numbers.empty() ? "" : " with ";
  return sentence("is now ", now.mode, with, numbers, "; it was ", before.mode, with, others);
}

}  // namespace Routing::Pim::Bsr
