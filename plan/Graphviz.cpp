#include "plan/Graphviz.h"

#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <boost/process/args.hpp>
#include <boost/process/async.hpp>
#include <boost/process/child.hpp>
#include <boost/process/exe.hpp>
#include <boost/process/io.hpp>
#include <memory>
#include <sstream>

namespace Planning {

namespace process = boost::process;

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

File temporaryFile() {
  File file(std::tmpfile(), &std::fclose);
  if (!file) throw GraphvizFailed("there is no temporary file to be had");
  return file;
}

std::string textOf(std::FILE *file) {
  std::string text;
  char bytes[65536];
  std::rewind(file);
  while (const size_t size = std::fread(bytes, 1, sizeof bytes, file)) text.append(bytes, size);
  return text;
}

std::string fileOf(const std::string &program, const std::string &path) {
  std::istringstream folders(path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    const std::string file = (folder.empty() ? "." : folder) + "/" + program;
    if (::access(file.c_str(), X_OK) == 0) return file;
  }
  throw GraphvizFailed("there is no program \"" + program + "\"; the package graphviz has it");
}

}  // namespace

void Graphviz::run(const std::string &program, const std::vector<std::string> &arguments, std::FILE *input,
                   std::FILE *output) const {
  const std::string file = fileOf(program, path_);
  const File errors = temporaryFile();
  boost::asio::io_context context;
  bool ended = false;
  try {
    process::child child(
        process::exe = file, process::args = arguments, process::std_in<input, process::std_out> output,
        process::std_err > errors.get(), context,
        process::on_exit = [&](int, const std::error_code &) { ended = true; });
    context.run_for(limit_);
    if (!ended) {
      child.terminate();
      child.wait();
      throw GraphvizFailed(program + " takes longer than " + std::to_string(limit_.count()) + " s");
    }
    if (child.exit_code() == 0) return;
  } catch (const std::system_error &error) {
    throw GraphvizFailed(file + " cannot be started: " + error.what());
  }
  const std::string said = textOf(errors.get());
  throw GraphvizFailed(program + " fails" + (said.empty() ? "" : ": " + said.substr(0, said.find('\n'))));
}

std::string Graphviz::run(const std::string &program, const std::vector<std::string> &arguments,
                          const std::string &input) const {
  const File in = temporaryFile(), out = temporaryFile();
  std::fwrite(input.data(), 1, input.size(), in.get());
  std::rewind(in.get());
  run(program, arguments, in.get(), out.get());
  return textOf(out.get());
}

std::vector<Position> Graphviz::layOut(const NetworkLayout &layout) const {
  constexpr double pointsPerInch = 72;
  std::vector<Position> positions(layout.places());
  size_t found = 0;
  std::istringstream lines(run(layout.program(), {"-Tplain"}, layout.text()));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string kind, name;
    Position position;
    if (!(words >> kind >> name >> position.x >> position.y) || kind != "node") continue;
    positions.at(std::stoul(name.substr(1))) = {position.x * pointsPerInch, position.y * pointsPerInch};
    ++found;
  }
  if (found == positions.size()) return positions;
  throw GraphvizFailed(std::string(layout.program()) + " lays out only " + std::to_string(found) + " nodes");
}

// On a full disk it would not say that it wrote only a part of a file.
std::string Graphviz::svgOf(const std::string &dot) const {
  std::string svg = run("neato", {"-n2", "-Tsvg"}, dot);
  if (svg.find("</svg>") == std::string::npos) throw GraphvizFailed("neato draws only a part");
  return svg;
}

}  // namespace Planning
