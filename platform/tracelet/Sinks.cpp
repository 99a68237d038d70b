#include "platform/tracelet/Sinks.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <system_error>

namespace Tracelet {

std::string stampedLine(std::string_view module, int level, std::string_view text) {
  using namespace std::chrono;
  const auto sinceEpoch = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
  const std::time_t seconds = sinceEpoch / 1000000;
  std::tm local{};
  localtime_r(&seconds, &local);
  char stamp[64];
  size_t length = std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
  length += std::snprintf(stamp + length, sizeof stamp - length, ".%06d ", static_cast<int>(sinceEpoch % 1000000));
  std::string result;
  result.reserve(length + module.size() + text.size() + 8);
  result.append(stamp, length).append(module).append(" ").append(std::to_string(level)).append(" ").append(text);
  return result;
}

FileSink::FileSink(const std::string &directory, std::string_view name, uint64_t limit)
    : path_(directory + "/" + std::string(name) + ".log"), limit_(limit) {
  if (!open()) throw std::system_error(errno, std::generic_category(), path_);
}

bool FileSink::open() {
  file_.reset(std::fopen(path_.c_str(), "ae"));
  if (!file_) return false;
  std::fseek(file_.get(), 0, SEEK_END);
  bytes_ = std::max(std::ftell(file_.get()), 0L);
  return true;
}

void FileSink::line(std::string_view module, int level, std::string_view text) {
  if (bytes_ >= limit_) {
    std::rename(path_.c_str(), (path_ + ".1").c_str());
    open();
  }
  if (!file_) return;
  const std::string line = stampedLine(module, level, text) + "\n";
  bytes_ += std::fwrite(line.data(), 1, line.size(), file_.get());
  std::fflush(file_.get());
}

void RingSink::line(std::string_view module, int level, std::string_view text) {
  lines_.push_back(stampedLine(module, level, text));
  if (lines_.size() > most_) lines_.pop_front();
}

CaptureSink::CaptureSink(int level) {
  Registry::instance().levelIs("*", level);
  Registry::instance().sinkAdd(*this);
}

void CaptureSink::line(std::string_view, int, std::string_view text) { lines_.emplace_back(text); }

size_t CaptureSink::count(std::string_view text) const {
  return std::count_if(lines_.begin(), lines_.end(),
                       [&](const std::string &line) { return line.find(text) != std::string::npos; });
}

}  // namespace Tracelet
