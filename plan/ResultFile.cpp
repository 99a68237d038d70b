#include "plan/ResultFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Planning {

namespace {

// How far the lines go that have their ends. Hands each to `take`, with where it begins.
// Without its end, the last one is handed over where it may be all there.
size_t readLines(std::istream &in, const std::string &name, bool takesRest,
                 const std::function<void(const std::string &line, size_t begin)> &take) {
  size_t begin = 0, number = 0;
  for (std::string line; std::getline(in, line); begin += line.size() + 1) {
    ++number;
    if (in.eof() && !(takesRest && nlohmann::json::accept(line))) break;
    try {
      if (!line.empty()) take(line, begin);
    } catch (const std::invalid_argument &fault) {
      throw InputFault(name + ": line " + std::to_string(number) + " " + fault.what());
    }
  }
  return begin;
}

// What is cut off has to be a result that was not written to its end, and nothing else that somebody keeps there.
void refuseForeignRest(std::ifstream &in, size_t begin, const std::string &name) {
  const std::string_view lead = "{\"plan\":\"";
  std::string rest(lead.size(), '\0');
  in.clear();
  in.seekg(static_cast<std::streamoff>(begin));
  in.read(rest.data(), static_cast<std::streamsize>(rest.size()));
  rest.resize(static_cast<size_t>(in.gcount()));
  if (!lead.starts_with(rest)) throw InputFault(name + ": is no file of results");
}

std::ifstream opened(const std::string &name) {
  std::error_code none;
  if (std::filesystem::is_directory(name, none)) throw InputFault(name + ": is a folder, not a file of results");
  std::ifstream in(name, std::ios::binary);
  if (!in) throw InputFault(name + ": cannot be read: " + std::strerror(errno));
  return in;
}

// It is read, cut and put in order, which others cannot be; some of them would not even open or come to an end.
const std::string &regular(const std::string &name) {
  std::error_code none;
  const auto status = std::filesystem::status(name, none);
  if (std::filesystem::is_directory(status)) throw InputFault(name + ": is a folder, not a file of results");
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw InputFault(name + ": is no regular file, which results are kept in");
  }
  return name;
}

}  // namespace

void readResults(const std::string &file, const TakeLine &take) {
  const auto each = [&](const std::string &line, size_t) { take(line); };
  if (file == "-") {
    readLines(std::cin, "standard input", true, each);
  } else {
    std::ifstream in = opened(file);
    readLines(in, file, true, each);
  }
}

ResultFile::ResultFile(std::string name, const TakeLine &take)
    : name_(std::move(name)), file_(::open(regular(name_).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644)) {
  if (!file_) throw std::runtime_error(name_ + ": cannot be written: " + std::strerror(errno));
  std::ifstream in = opened(name_);
  const size_t good = readLines(in, name_, false, [&](const std::string &line, size_t) { take(line); });
  refuseForeignRest(in, good, name_);
  if (::ftruncate(file_.number(), static_cast<off_t>(good)) < 0) {
    throw std::runtime_error(name_ + ": cannot be written: " + std::strerror(errno));
  }
}

void ResultFile::add(const std::string &line) {
  const std::string text = line + "\n";
  // A write that is cut short does not say why; the next one does.
  for (size_t at = 0; at < text.size();) {
    const ssize_t written = ::write(file_.number(), text.data() + at, text.size() - at);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw std::runtime_error(name_ + ": cannot be written: " + std::strerror(errno));
    at += static_cast<size_t>(written);
  }
}

void ResultFile::sort(const std::function<std::optional<size_t>(const std::string &line)> &numberOf) {
  struct Place {
    size_t number, begin, length;
  };
  std::vector<Place> places;
  std::ifstream in = opened(name_);
  readLines(in, name_, false, [&](const std::string &line, size_t begin) {
    if (const auto number = numberOf(line)) places.push_back({*number, begin, line.size()});
  });
  const auto isBefore = [](const Place &a, const Place &b) { return a.number < b.number; };
  std::stable_sort(places.begin(), places.end(), isBefore);
  const std::string fresh = name_ + ".new";
  errno = 0;
  std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
  in.clear();
  std::string line;
  for (size_t i = 0; i < places.size(); ++i) {
    if (i > 0 && places[i].number == places[i - 1].number) continue;
    line.resize(places[i].length);
    in.seekg(static_cast<std::streamoff>(places[i].begin));
    in.read(line.data(), static_cast<std::streamsize>(line.size()));
    out << line << '\n';
  }
  out.close();
  if (!in || !out || std::rename(fresh.c_str(), name_.c_str()) != 0) {
    const std::string reason = errno != 0 ? std::strerror(errno) : "something else has changed it";
    ::unlink(fresh.c_str());
    throw std::runtime_error(name_ + ": cannot be put in order: " + reason);
  }
}

}  // namespace Planning
