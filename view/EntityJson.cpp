#include "view/EntityJson.h"

#include <nlohmann/json.hpp>

namespace Routing::Pim::Bsr {

namespace {

using nlohmann::json;

json toJson(const Kiv::Value &value) {
  return std::visit([](const auto &general) { return json(general); }, value);
}

class JsonVisitor : public Kiv::Visitor {
 public:
  explicit JsonVisitor(json &object) : object_(object) {}
  void attribute(std::string_view name, const Kiv::Value &value) override { member(name) = toJson(value); }
  void child(std::string_view name, const Kiv::Entity *entity) override {
    member(name) = entity ? Bsr::toJson(*entity) : json();
  }
  void enter(std::string_view name) override {
    collection_ = &member(name);
    *collection_ = json::object();
  }
  void key(const Kiv::Value &key) override {
    if (collection_->empty()) *collection_ = json::array();
    collection_->push_back(toJson(key));
  }
  void element(const Kiv::Value &key, const Kiv::Value &value) override {
    (*collection_)[Kiv::toText(key)] = toJson(value);
  }
  void element(const Kiv::Value &key, const Kiv::Entity &entity) override {
    (*collection_)[Kiv::toText(key)] = Bsr::toJson(entity);
  }

 private:
  json &member(std::string_view name) { return object_[std::string(name)]; }

  json &object_;
  json *collection_ = nullptr;
};

}  // namespace

json toJson(const Kiv::Entity &entity) {
  json object = json::object();
  JsonVisitor visitor(object);
  entity.describe(visitor);
  return object;
}

const json *memberAt(const json &json, std::string_view path) {
  if (path.empty()) return &json;
  if (!json.is_object()) return nullptr;
  for (size_t end = path.find('/');; end = path.find('/', end + 1)) {
    const auto found = json.find(std::string(path.substr(0, end)));
    if (found != json.end()) {
      const auto *member = memberAt(*found, end == path.npos ? "" : path.substr(end + 1));
      if (member) return member;
    }
    if (end == path.npos) return nullptr;
  }
}

}  // namespace Routing::Pim::Bsr
