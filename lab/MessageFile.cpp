#include "lab/MessageFile.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Lab {
namespace {

using nlohmann::json;
using namespace Routing::Pim;

// A place in the file.
class Node {
 public:
  Node(const json &value, std::string path, Pax::AddressFamily family)
      : value_(value), path_(std::move(path)), family_(family) {
    if (!value.is_object()) fail("must be an object");
  }

  [[noreturn]] void fail(const std::string &text, const char *name = nullptr) const {
    throw std::runtime_error((name ? path_ + "/" + name : path_.empty() ? "/" : path_) + ": " + text);
  }

  void only(std::initializer_list<std::string_view> names) const {
    for (const auto &member : value_.items()) {
      if (std::find(names.begin(), names.end(), member.key()) == names.end()) {
        fail("unknown name", member.key().c_str());
      }
    }
  }

  std::vector<Node> list(const char *name) const {
    std::vector<Node> nodes;
    if (!value_.contains(name)) return nodes;
    if (!value_[name].is_array()) fail("must be an array", name);
    for (const json &element : value_[name]) {
      nodes.emplace_back(element, path_ + "/" + name + "/" + std::to_string(nodes.size()), family_);
    }
    return nodes;
  }

  template <class Number>
  Number number(const char *name, Number initial) const {
    if (!value_.contains(name)) return initial;
    constexpr unsigned most = std::numeric_limits<Number>::max();
    const json &number = value_[name];
    if (!number.is_number_unsigned() || number.get<uint64_t>() > most) {
      fail("must be a number from 0 to " + std::to_string(most), name);
    }
    return number.get<Number>();
  }

  double seconds(const char *name, double initial) const {
    if (!value_.contains(name)) return initial;
    if (!value_[name].is_number() || value_[name].get<double>() <= 0) fail("must be a number above 0", name);
    return value_[name].get<double>();
  }

  bool flag(const char *name) const {
    if (!value_.contains(name)) return false;
    if (!value_[name].is_boolean()) fail("must be true or false", name);
    return value_[name].get<bool>();
  }

  bool has(const char *name) const { return value_.contains(name); }
  Pax::IpGenAddr address(const char *name) const { return ofFamily<Pax::IpGenAddr>(name); }
  Pax::IpGenPrefix prefix(const char *name) const { return ofFamily<Pax::IpGenPrefix>(name); }

 private:
  template <class Value>
  Value ofFamily(const char *name) const {
    if (!value_.contains(name)) fail("missing", name);
    if (!value_[name].is_string()) fail("must be a string", name);
    Value value;
    try {
      value = Value::fromText(value_[name].get<std::string>());
    } catch (const std::exception &error) {
      fail(error.what(), name);
    }
    if (value.af() != family_) fail("is not of the address family of the feed", name);
    return value;
  }

  const json &value_;
  const std::string path_;
  const Pax::AddressFamily family_;
};

Kiv::Ptr<Packet::BootstrapGroupData> readGroup(const Node &node) {
  node.only({"prefix", "adminScope", "bidir", "rpCount", "rps"});
  const auto group = Packet::BootstrapGroupDataIs(node.prefix("prefix"));
  group->adminScopeIs(node.flag("adminScope"));
  group->bidirIs(node.flag("bidir"));
  for (const Node &rp : node.list("rps")) {
    rp.only({"address", "holdTime", "priority"});
    group->rpEnq({rp.address("address"), rp.number<uint16_t>("holdTime", 150), rp.number<uint8_t>("priority", 192)});
  }
  if (group->rpList().size() > 255) node.fail("a block has room for 255 RPs", "rps");
  group->fragmentRpCountIs(static_cast<uint8_t>(group->rpList().size()));
  group->rpCountIs(node.number("rpCount", group->fragmentRpCount()));
  return group;
}

FileMessage readMessage(const Node &node, Pax::AddressFamily family) {
  node.only({"bsr", "priority", "hashMaskLen", "interval", "fragmentTag", "noForward", "groups"});
  FileMessage read{Packet::BootstrapMessageIs(), node.has("fragmentTag"), node.seconds("interval", 60)};
  Packet::BootstrapMessage &message = *read.message;
  message.bsrAddressIs(node.address("bsr"));
  message.priorityIs(node.number<uint8_t>("priority", 64));
  message.hashMaskLenIs(node.number<uint8_t>("hashMaskLen", family == Pax::AddressFamily::ipv4 ? 30 : 126));
  message.fragmentTagIs(node.number<uint16_t>("fragmentTag", 0));
  message.forwardIs(!node.flag("noForward"));
  for (const Node &group : node.list("groups")) message.optionalData()->groupDataEnq(readGroup(group));
  return read;
}

std::vector<FileMessage> readMessages(std::istream &file, Pax::AddressFamily family) {
  const json document = json::parse(file, nullptr, true, true);
  const Node root(document, "", family);
  root.only({"messages"});
  std::vector<FileMessage> messages;
  for (const Node &node : root.list("messages")) messages.push_back(readMessage(node, family));
  if (messages.empty()) root.fail("must not be empty", "messages");
  return messages;
}

}  // namespace

std::vector<FileMessage> readMessageFile(const std::string &file, Pax::AddressFamily family) {
  std::ifstream in(file);
  try {
    if (!in) throw std::runtime_error("cannot be read");
    return readMessages(in, family);
  } catch (const std::exception &error) {
    const std::string text = error.what();
    throw std::runtime_error(file + (text.starts_with("/") ? ":" : ": ") + text);
  }
}

}  // namespace Lab
