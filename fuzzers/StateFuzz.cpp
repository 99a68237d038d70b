// A state file, whatever is in it, is taken whole or not at all; an agent runs on what was taken, and what is saved
// then is taken again and saved as the same.

#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "daemon/state/StateFile.h"
#include "fuzzers/Bytes.h"
#include "fuzzers/Invariants.h"
#include "fuzzers/Traces.h"
#include "platform/sim/Network.h"
#include "sim/Host.h"

using namespace Routing::Pim::Bsr;

namespace {

// A file of the process's own, gone when that ends.
class Place {
 public:
  Place() {
    if (!::mkdtemp(directory_.data())) std::abort();
  }
  ~Place() {
    ::unlink(path().c_str());
    ::rmdir(directory_.c_str());
  }
  std::string path() const { return directory_ + "/state"; }
  std::string text() const {
    std::ostringstream text;
    text << std::ifstream(path()).rdbuf();
    return text.str();
  }

 private:
  std::string directory_ = "/tmp/StateFuzz.XXXXXX";
};

// Everything at once.
struct Foreground : Orb::Background {
  void start(std::function<void()> work, std::function<void()> done) override {
    work();
    done();
  }
  void finish() override {}
};

StateFile::Contents contentsOf(SystemState &system) { return {system.statusColl, system.rpCandidateStatusColl}; }

// A router whose state is in the file.
struct Router {
  Router(const std::string &path, Pax::AddressFamily family)
      : network(family, 1),
        host(router()),
        file({path, family, "this boot"}, contentsOf(host.system()), network.time(), network.router("r1").wheel(),
             background) {}
  Sim::Router &router() {
    network.linkIs("link", {"r1", "r2"});
    return network.router("r1");
  }
  std::string saved(const Place &place) {
    file.save();
    return place.text();
  }

  Sim::Network network;
  Sim::Host host;
  Foreground background;
  StateFile file;
};

// The input as it is or, since hardly any would be taken, as the status of all VRFs in a file of this boot.
std::string textOf(Fuzz::Bytes &in, bool isWhole, Pax::AddressFamily family, const Place &place) {
  const auto bytes = in.rest();
  std::string text(bytes.begin(), bytes.end());
  if (isWhole) return text;
  const auto status = nlohmann::json::parse(text, nullptr, false);
  if (status.is_discarded()) return text;
  auto file = nlohmann::json::parse(Router(place.path(), family).saved(place));
  file["vrfStatus"] = status;
  return file.dump();
}

bool anywhere(const L3::VrfName &, const std::string &, const std::string &) { return true; }

}  // namespace

// The first byte: bit 0 the family, bit 1 whether the rest is the whole file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const Place place;
  Fuzz::Bytes in(data, size);
  Fuzz::traceAtLevel(1);
  const uint8_t mode = in.u8();
  const auto family = mode & 1 ? Pax::AddressFamily::ipv6 : Pax::AddressFamily::ipv4;
  const std::string text = textOf(in, mode & 2, family, place);
  std::ofstream(place.path(), std::ios::binary) << text;
  Router first(place.path(), family);
  first.file.load(anywhere);
  const std::string before = first.saved(place);
  Router second(place.path(), family);
  second.file.load(anywhere);
  ::unlink(place.path().c_str());
  if (second.saved(place) != before) Fuzz::expectNothing("not the same after a restart:\n" + before + place.text());

  second.host.candidateBsrIs(Pax::allGroups(family), 10);
  second.host.start();
  second.network.time().runFor(200);
  Fuzz::expectNothing(Fuzz::Invariants::broken(second.host, second.network.time().now()));
  ::unlink(place.path().c_str());
  if (second.saved(place).empty()) Fuzz::expectNothing("not saved");
  return 0;
}
