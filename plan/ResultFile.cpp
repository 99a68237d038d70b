#include "plan/ResultFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace Planning {

namespace {

// How far the lines go that have their ends. Hands each to `take`, with where it begins.
size_t readLines(std::istream &in, const std::string &name,
                 const std::function<void(const std::string &line, size_t begin)> &take) {
  size_t begin = 0, number = 0;
  for (std::string line; std::getline(in, line) && !in.eof(); begin += line.size() + 1) {
    ++number;
    try {
      if (!line.empty()) take(line, begin);
    } catch (const std::invalid_argument &fault) {
      throw ResultFault(name + ": line " + std::to_string(number) + " " + fault.what());
    }
  }
  return begin;
}

std::ifstream opened(const std::string &name) {
  std::ifstream in(name, std::ios::binary);
  if (!in) throw ResultFault(name + ": cannot be read: " + std::strerror(errno));
  return in;
}

}  // namespace

void readResults(const std::string &file, const TakeLine &take) {
  const auto each = [&](const std::string &line, size_t) { take(line); };
  if (file == "-") {
    readLines(std::cin, "standard input", each);
  } else {
    std::ifstream in = opened(file);
    readLines(in, file, each);
  }
}

ResultFile::ResultFile(std::string name, const TakeLine &take)
    : name_(std::move(name)), file_(::open(name_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644)) {
  if (!file_) throw ResultFault(name_ + ": cannot be written: " + std::strerror(errno));
  std::ifstream in = opened(name_);
  const size_t good = readLines(in, name_, [&](const std::string &line, size_t) { take(line); });
  if (::ftruncate(file_.number(), static_cast<off_t>(good)) < 0) {
    throw ResultFault(name_ + ": cannot be written: " + std::strerror(errno));
  }
}

void ResultFile::add(const std::string &line) {
  const std::string text = line + "\n";
  if (::write(file_.number(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw ResultFault(name_ + ": cannot be written: " + std::strerror(errno));
  }
}

void ResultFile::sort(const std::function<std::optional<size_t>(const std::string &line)> &numberOf) {
  struct Place {
    size_t number, begin, length;
  };
  std::vector<Place> places;
  std::ifstream in = opened(name_);
  readLines(in, name_, [&](const std::string &line, size_t begin) {
    if (const auto number = numberOf(line)) places.push_back({*number, begin, line.size()});
  });
  const auto isBefore = [](const Place &a, const Place &b) { return a.number < b.number; };
  std::stable_sort(places.begin(), places.end(), isBefore);
  const std::string fresh = name_ + ".new";
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
    throw ResultFault(name_ + ": cannot be put in order: " + std::strerror(errno));
  }
}

}  // namespace Planning
