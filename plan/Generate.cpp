#include <algorithm>
#include <charconv>
#include <map>

#include "plan/CommandLine.h"
#include "plan/Draft.h"
#include "plan/Naming.h"
#include "plan/Topology.h"

namespace Planning {

namespace po = boost::program_options;

namespace {

constexpr size_t routersMost = 10000;
constexpr size_t linksMost = 65536;  // each has a subnet

/// The family's own texts.
struct Groups {
  const char *family;
  const char *all;
  const char *one;
};
constexpr Groups groupsOf4{"ipv4", "224.0.0.0/4", "225.1.1.1"};
constexpr Groups groupsOf6{"ipv6", "ff00::/8", "ff0e::1:1"};

/// What to write: the network, what it is called, and what to do in it.
struct Network {
  Topology topology;
  std::string title;
  Places places{};
  bool isTree = false;  ///< so that nothing can fail that takes nobody with it
};

size_t numberFrom(const std::string &text, const char *what, size_t least, size_t most = routersMost) {
  size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size() && number >= least && number <= most) return number;
  throw UsageError(std::string(what) + ": a number from " + std::to_string(least) + " to " + std::to_string(most) +
                   ", not \"" + text + "\"");
}

/// The options and sizes of one kind of network, as they are asked for. Whatever is given and not asked for is refused.
class Sizes {
 public:
  Sizes(const CommandLine::Values &given, std::string kind) : given_(given), kind_(std::move(kind)) {}

  /// What follows the kind.
  std::string size(const char *like) {
    takesSize_ = true;
    if (given_.count("size") == 0) throw UsageError(kind_ + " needs a size, as in \"" + kind_ + " " + like + "\"");
    return given_["size"].as<std::string>();
  }
  size_t option(const char *name, size_t otherwise, size_t least, size_t most = routersMost) {
    asked_.emplace_back(name);
    return given_.count(name) == 0 ? otherwise : numberFrom(given_[name].as<std::string>(), name, least, most);
  }
  void refuseOthers() const {
    if (given_.count("size") > 0 && !takesSize_) throw UsageError(kind_ + " has options, and no size");
    for (const char *name : {"depth", "children", "pods", "links", "seed"}) {
      if (given_.count(name) == 0 || std::find(asked_.begin(), asked_.end(), name) != asked_.end()) continue;
      throw UsageError("--" + std::string(name) + " is not for " + kind_);
    }
  }

 private:
  const CommandLine::Values &given_;
  const std::string kind_;
  std::vector<std::string> asked_;
  bool takesSize_ = false;
};

Network ringFrom(Sizes &sizes) {
  const size_t routers = numberFrom(sizes.size("20"), "routers", 3);
  return {ring(routers), "A ring of " + std::to_string(routers) + " routers"};
}

Network gridFrom(Sizes &sizes) {
  const std::string text = sizes.size("5x4");
  const size_t by = text.find('x');
  if (by == std::string::npos) throw UsageError("\"" + text + "\" is no size of a grid: as in \"grid 5x4\"");
  const size_t columns = numberFrom(text.substr(0, by), "columns", 1);
  const size_t rows = numberFrom(text.substr(by + 1), "rows", 1);
  if (columns * rows < 2 || columns * rows > routersMost) throw UsageError("a grid has 2 to 10000 routers");
  return {grid(columns, rows), "A grid of " + std::to_string(columns) + " by " + std::to_string(rows) + " routers"};
}

Network treeFrom(Sizes &sizes) {
  const size_t depth = sizes.option("depth", 2, 1, 16);
  const size_t children = sizes.option("children", 3, 2);
  size_t routers = 1;
  for (size_t level = 0, width = 1; level < depth && routers <= routersMost; ++level) routers += width *= children;
  if (routers > routersMost) throw UsageError("such a tree has more than 10000 routers");
  // The root and its first child are what the rest of the network needs least of to reach.
  return {tree(depth, children),
          "A tree of " + std::to_string(routers) + " routers, of depth " + std::to_string(depth) + " with " +
              std::to_string(children) + " children each",
          {0, 1, 0, 1},
          true};
}

Network fatTreeFrom(Sizes &sizes) {
  const size_t pods = sizes.option("pods", 4, 2, 46);
  if (pods % 2 != 0) throw UsageError("a fat tree has an even number of pods");
  return {fatTree(pods), "A fat tree of " + std::to_string(pods) + " pods"};
}

Network randomFrom(Sizes &sizes) {
  const size_t routers = numberFrom(sizes.size("50"), "routers", 2);
  const size_t all = std::min(linksMost, routers * (routers - 1) / 2);
  const size_t links = sizes.option("links", std::min(all, 2 * routers), routers - 1, all);
  const size_t seed = sizes.option("seed", 1, 0, UINT32_MAX);
  return {randomNetwork(routers, links, seed), "A random network of " + std::to_string(routers) + " routers and " +
                                                   counted(links, "link") + " (seed " + std::to_string(seed) + ")"};
}

struct Kind {
  const char *name;
  Network (*make)(Sizes &sizes);
};
constexpr Kind kinds[] = {
    {"ring", ringFrom}, {"grid", gridFrom}, {"tree", treeFrom}, {"fat-tree", fatTreeFrom}, {"random", randomFrom}};

Network networkFrom(const CommandLine::Values &given) {
  const std::string kind = given["kind"].as<std::string>();
  for (const auto &[name, make] : kinds) {
    if (kind != name) continue;
    Sizes sizes(given, kind);
    Network network = make(sizes);
    sizes.refuseOthers();
    if (!network.isTree) network.places = placesIn(network.topology);
    return network;
  }
  throw UsageError("there is no \"" + kind + "\": ring, grid, tree, fat-tree and random are there");
}

using Json = Draft::Json;

Draft::Section templatesOf(const Network &network, const Groups &groups) {
  const Json bsr = {{"lo", {{"group", {{groups.all, {{"priority", "${bsrPriority}"}}}}}}}};
  const Json rp = {{"lo", {{"groupRange", {{groups.all, {{"priority", "${rpPriority}"}}}}}}}};
  const auto of = [](const Json &settings) { return Json{{"vrfConfig", {{"default", settings}}}}; };
  Draft::Section section{"templates",
                         {"", "Configurations, with ${NAME} for what differs from router to router. As BSR the highest",
                          "priority wins, as RP the lowest."},
                         {},
                         false};
  const Places &places = network.places;
  const auto isBoth = [&](size_t router) {
    return (router == places.bsr || router == places.spareBsr) && (router == places.rp || router == places.spareRp);
  };
  bool one = false, both = false;
  for (const size_t router : {places.bsr, places.spareBsr, places.rp, places.spareRp}) {
    (isBoth(router) ? both : one) = true;
  }
  if (one) {
    section.entries.push_back({"bsr", of({{"bsrCandidateConfig", bsr}})});
    section.entries.push_back({"rp", of({{"rpCandidateConfig", rp}})});
  }
  if (both) section.entries.push_back({"both", of({{"bsrCandidateConfig", bsr}, {"rpCandidateConfig", rp}})});
  return section;
}

Draft::Section routersOf(const Network &network) {
  Draft::Section section{"routers",
                         {"", "Those with {} are no candidates; PIM is on at all links of every router. Instead of a",
                          "template a router may have \"file\": \"r1.json\", its own configuration file."},
                         {},
                         false};
  const Places &places = network.places;
  std::map<size_t, Json> values;
  values[places.bsr]["bsrPriority"] = 65;
  values[places.spareBsr]["bsrPriority"] = 64;
  values[places.rp]["rpPriority"] = 10;
  values[places.spareRp]["rpPriority"] = 20;
  for (size_t router = 0; router < network.topology.routers.size(); ++router) {
    Draft::Entry &entry = section.entries.emplace_back(Draft::Entry{network.topology.routers[router], Json::object()});
    const auto own = values.find(router);
    if (own == values.end()) continue;
    const std::string name = own->second.size() == 2 ? "both" : own->second.contains("bsrPriority") ? "bsr" : "rp";
    entry.value = {{"template", name}, {"values", own->second}};
  }
  return section;
}

Draft::Section linksOf(const Topology &topology) {
  Draft::Section section{
      "links",
      {"",
       "A link may have \"delay\", \"jitter\" (seconds), \"loss\" (0 to 1), \"mtu\", \"cost\", \"subnet\" and "
       "\"name\".",
       "Without a name it is called after its ends: " + topology.routers[topology.links.front().first] + "-" +
           topology.routers[topology.links.front().second] + "."},
      {}};
  for (const auto &[a, b] : topology.links) {
    section.entries.push_back({"", {{"between", {topology.routers[a], topology.routers[b]}}}});
  }
  return section;
}

/// The BSR loses power, and the spare one takes over.
void tellOfLostBsr(Draft &draft, const Network &network, const Groups &groups) {
  const auto name = [&](size_t router) { return network.topology.routers[router]; };
  const Places &places = network.places;
  draft.sections.push_back(
      {"events",
       {"", "What happens, at so many seconds from the beginning. The end is when all had time to recover."},
       {{"", {{"at", 300}, {"powerOff", name(places.bsr)}}}}});
  draft.sections.push_back({"expect",
                            {"", "What must hold: at a time, or for how many seconds at most it may not."},
                            {{"", {{"at", 290}, {"bsr", name(places.bsr)}}},
                             {"", {{"at", 590}, {"bsr", name(places.spareBsr)}}},
                             {"", {{"at", 590}, {"rp", name(places.rp)}, {"group", groups.one}}},
                             {"", {{"withoutBsr", 20}, {"from", 60}}},
                             {"", {{"withoutRp", 5}, {"from", 60}}}}});
}

/// The last branch is cut off, and comes back.
void tellOfLostBranch(Draft &draft, const Network &network, const Groups &groups) {
  const auto &routers = network.topology.routers;
  const auto &[root, first] = network.topology.links.front();
  size_t last = 0;
  for (const auto &[parent, child] : network.topology.links) last = parent == root ? child : last;
  const std::string link = routers[root] + "-" + routers[last];
  draft.sections.push_back(
      {"events",
       {"", "What happens, at so many seconds from the beginning. The end is when all had time to recover."},
       {{"", {{"at", 300}, {"cut", link}}}, {"", {{"at", 600}, {"heal", link}}}}});
  draft.sections.push_back({"expect",
                            {"", "What must hold: at a time, or for how many seconds at most it may not."},
                            {{"", {{"at", 290}, {"bsr", routers[root]}}},
                             {"", {{"at", 590}, {"bsr", "none"}, {"routers", {routers[last]}}}},
                             {"", {{"at", 590}, {"rp", "none"}, {"group", groups.one}, {"routers", {routers[last]}}}},
                             {"", {{"at", 590}, {"bsr", routers[root]}, {"routers", {routers[root], routers[first]}}}},
                             {"", {{"at", 890}, {"rp", routers[root]}, {"group", groups.one}}},
                             {"", {{"withoutBsr", 35}, {"from", 600}}},
                             {"", {{"withoutRp", 35}, {"from", 600}}}}});
}

Draft draftOf(const Network &network, const Groups &groups) {
  Draft draft;
  draft.comments = {network.title + ", to begin with: edit it.", "  pimbsr-sim check FILE   says what is wrong with it",
                    "  pimbsr-sim run FILE     plays it, and says whether what is expected holds",
                    "  pimbsr-sim sweep FILE   lets each link, router and pair of links fail in turn",
                    "  pimbsr-sim schema       has all that a plan may say"};
  draft.head.push_back({"name", network.title});
  if (groups.family != groupsOf4.family) draft.head.push_back({"family", groups.family});
  draft.sections.push_back(templatesOf(network, groups));
  draft.sections.push_back(routersOf(network));
  draft.sections.push_back(linksOf(network.topology));
  network.isTree ? tellOfLostBranch(draft, network, groups) : tellOfLostBsr(draft, network, groups);
  return draft;
}

}  // namespace

int generatePlan(const Arguments &arguments, std::ostream &out, std::ostream &) {
  const auto text = [] { return po::value<std::string>(); };
  CommandLine line(
      "Usage: pimbsr-sim generate ring ROUTERS | grid COLUMNSxROWS | tree | fat-tree | random ROUTERS\n\n"
      "Writes a plan to begin with: a network, candidates on routers that fit, a failure and what is expected.\n");
  line.needs("kind", "which network: ring, grid, tree, fat-tree or random?");
  line.takes("size");
  line.options()("family", text()->value_name("ipv4|ipv6")->default_value("ipv4"), "of the network")  //
      ("depth", text()->value_name("LEVELS"), "of a tree below its root (2)")                         //
      ("children", text()->value_name("NUMBER"), "of each router of a tree (3)")                      //
      ("pods", text()->value_name("NUMBER"), "of a fat tree, even (4)")                               //
      ("links", text()->value_name("NUMBER"), "of a random network (twice its routers)")              //
      ("seed", text()->value_name("NUMBER"), "of a random network (1): another one, another network");
  const auto values = line.valuesOf(arguments, out);
  if (!values) return done;
  const CommandLine::Values &given = *values;
  const std::string family = given["family"].as<std::string>();
  if (family != groupsOf4.family && family != groupsOf6.family) throw UsageError("the family is ipv4 or ipv6");
  out << toText(draftOf(networkFrom(given), family == groupsOf6.family ? groupsOf6 : groupsOf4));
  return done;
}

}  // namespace Planning
