#include "plan/Resolver.h"

#include <algorithm>

#include "daemon/file/JsonText.h"

namespace Planning {

std::vector<Node> Plan::nodes() const {
  std::vector<Node> all;
  for (size_t router = 0; router < routers.size(); ++router) {
    for (size_t vrf = 0; vrf < routers[router].vrfs.size(); ++vrf) all.push_back({router, vrf});
  }
  return all;
}

std::string nodeName(const std::string &router, const std::string &vrf) {
  return vrf == "default" ? router : router + "/" + vrf;
}

std::string Plan::nameOf(const Node &node) const {
  return nodeName(routers[node.router].name, routers[node.router].vrfs[node.vrf].name);
}

bool Plan::hasVrfs() const {
  return std::any_of(routers.begin(), routers.end(), [](const Router &router) { return router.vrfs.size() > 1; });
}

MemberName memberNameFrom(const std::string &text) {
  MemberName name{text};
  if (const size_t colon = name.router.find(':'); colon != std::string::npos) {
    name.interface = name.router.substr(colon + 1);
    name.router.resize(colon);
  }
  if (const size_t slash = name.router.find('/'); slash != std::string::npos) {
    name.vrf = name.router.substr(slash + 1);
    name.router.resize(slash);
  }
  return name;
}

void Resolver::resolve() {
  plan_.name = text_.name;
  plan_.family = text_.scope.family;
  plan_.seed = text_.seed;
  if (!resolveNetwork()) return;
  resolveConfigurations();
  resolveStory();
  resolveExpectations();
}

std::optional<size_t> Resolver::routerFrom(const std::string &name, const std::string &path) {
  const auto found = routerByName_.find(name);
  if (found != routerByName_.end()) return found->second;
  error(path, "there is no router " + name);
  return std::nullopt;
}

}  // namespace Planning
