#include "daemon/control/Request.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Control {

namespace {

struct Field {
  const char *name;
  std::string Request::*text;
};
constexpr std::array fields{
    Field{"verb", &Request::verb},         Field{"noun", &Request::noun},   Field{"vrf", &Request::vrf},
    Field{"argument", &Request::argument}, Field{"since", &Request::since}, Field{"zone", &Request::zone},
    Field{"severity", &Request::severity}, Field{"kind", &Request::kind},
};

// Whether brackets go deeper than anything meant does; to read tens of thousands of them would take long.
bool isDeep(std::string_view line) {
  constexpr int most = 16;
  int depth = 0;
  bool inText = false;
  for (size_t i = 0; i < line.size() && depth <= most; ++i) {
    if (line[i] == '"') inText = !inText;
    if (inText) {
      i += line[i] == '\\' ? 1 : 0;
    } else if (line[i] == '[' || line[i] == '{') {
      ++depth;
    } else if (line[i] == ']' || line[i] == '}') {
      --depth;
    }
  }
  return depth > most;
}

// Interface names and traces may hold any byte.
std::string toText(const Rows &json) { return json.dump(-1, ' ', false, Rows::error_handler_t::replace); }

}  // namespace

std::string toLine(const Request &request) {
  Rows json = Rows::object();
  for (const Field &field : fields) {
    if (!(request.*field.text).empty()) json[field.name] = request.*field.text;
  }
  return toText(json);
}

Request requestFromLine(std::string_view line) {
  const Rows json = isDeep(line) ? Rows() : Rows::parse(line, nullptr, false);
  if (!json.is_object()) throw std::invalid_argument("a request must be a JSON object on one line");
  Request request;
  for (const auto &member : json.items()) {
    const std::string &name = member.key();
    const auto field =
        std::find_if(fields.begin(), fields.end(), [&](const Field &known) { return name == known.name; });
    if (field == fields.end()) throw std::invalid_argument("a request has no member \"" + name + "\"");
    if (!member.value().is_string()) throw std::invalid_argument("\"" + name + "\" must be a string");
    request.*field->text = member.value().get<std::string>();
  }
  if (request.verb.empty()) throw std::invalid_argument("a request needs a verb");
  return request;
}

std::string rowText(const Rows &row) { return toText(row); }

std::string errorLine(std::string_view error, ErrorKind kind) {
  Rows json = Rows::object({{"error", error}});
  if (kind == ErrorKind::badRequest) json["badRequest"] = true;
  return toText(json);
}

AgentError errorFrom(const Rows &line) {
  const Rows error = line.value("error", Rows());
  const bool isBad = line.value("badRequest", Rows()) == true;
  return {error.is_string() ? error.get<std::string>() : error.dump(),
          isBad ? ErrorKind::badRequest : ErrorKind::refusal};
}

Rows rowsFromLine(std::string_view line) {
  Rows json = Rows::parse(line, nullptr, false);
  if (json.is_object() && json.contains("error")) throw errorFrom(json);
  if (!json.is_object() || !json.contains("rows") || !json["rows"].is_array()) {
    throw std::runtime_error("cannot understand the agent's reply");
  }
  return std::move(json["rows"]);
}

}  // namespace Control
