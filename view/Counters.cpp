#include <array>

#include "view/Json.h"
#include "view/LimitTable.h"
#include "view/Show.h"

namespace Routing::Pim::Bsr {

namespace {

// The counters under their own names. Those that are not numbers have columns of their own.
class CounterVisitor : public Kiv::Visitor {
 public:
  explicit CounterVisitor(Rows &row) : row_(row) {}
  void attribute(std::string_view name, const Kiv::Value &value) override {
    if (const auto *number = std::get_if<uint64_t>(&value)) row_[std::string(name)] = *number;
  }

 private:
  Rows &row_;
};

template <class Record>
struct Field {
  const char *name;
  uint32_t Record::*number;
};
constexpr std::array errorFields{
    Field<PimBsrErrorCounters>{"deniedError", &PimBsrErrorCounters::deniedError},
    Field<PimBsrErrorCounters>{"deniedCrpAdv", &PimBsrErrorCounters::deniedCrpAdv},
    Field<PimBsrErrorCounters>{"rpfError", &PimBsrErrorCounters::rpfError},
    Field<PimBsrErrorCounters>{"noFwdBsmError", &PimBsrErrorCounters::noFwdBsmError},
    Field<PimBsrErrorCounters>{"unicastBsmError", &PimBsrErrorCounters::unicastBsmError},
    Field<PimBsrErrorCounters>{"notBsrError", &PimBsrErrorCounters::notBsrError},
    Field<PimBsrErrorCounters>{"unknownDestError", &PimBsrErrorCounters::unknownDestError},
};
constexpr std::array packetFields{
    Field<Flume::PacketCounters>{"received", &Flume::PacketCounters::received},
    Field<Flume::PacketCounters>{"sent", &Flume::PacketCounters::sent},
    Field<Flume::PacketCounters>{"sendFailed", &Flume::PacketCounters::sendFailed},
    Field<Flume::PacketCounters>{"malformed", &Flume::PacketCounters::malformed},
    Field<Flume::PacketCounters>{"wrongFamily", &Flume::PacketCounters::wrongFamily},
    Field<Flume::PacketCounters>{"pimOff", &Flume::PacketCounters::pimOff},
    Field<Flume::PacketCounters>{"noConsumer", &Flume::PacketCounters::noConsumer},
    Field<Flume::PacketCounters>{"noFwdNoHello", &Flume::PacketCounters::noFwdNoHello},
    Field<Flume::PacketCounters>{"noFwdOwnAddress", &Flume::PacketCounters::noFwdOwnAddress},
    Field<Flume::PacketCounters>{"badHello", &Flume::PacketCounters::badHello},
    Field<Flume::PacketCounters>{"contradictingFragments", &Flume::PacketCounters::contradictingFragments},
    Field<Flume::PacketCounters>{"fragmentsOverLimit", &Flume::PacketCounters::fragmentsOverLimit},
    Field<Flume::PacketCounters>{"tooLong", &Flume::PacketCounters::tooLong},
    Field<Flume::PacketCounters>{"neighborsOverLimit", &Flume::PacketCounters::neighborsOverLimit},
    Field<Flume::PacketCounters>{"kernelDropped", &Flume::PacketCounters::kernelDropped},
};
static_assert(sizeof(PimBsrErrorCounters) == errorFields.size() * sizeof(uint32_t), "a counter is missing");
static_assert(sizeof(PimBsrLimitCounters) == limitTable.size() * sizeof(uint32_t), "a counter is missing");
static_assert(sizeof(Flume::PacketCounters) == (packetFields.size() + Packet::decodeErrors) * sizeof(uint32_t),
              "a counter is missing");

template <class Fields, class Record>
Rows toJson(const Fields &fields, const Record &record) {
  Rows json = Rows::object();
  for (const auto &field : fields) json[field.name] = record.*field.number;
  return json;
}

Rows packetsOf(const Flume::PacketCounters &counters) {
  Rows json = toJson(packetFields, counters);
  Rows &reasons = json["malformedBy"] = Rows::object();
  for (size_t i = 0; i < counters.malformedBy.size(); ++i) {
    const auto reason = static_cast<Packet::DecodeError>(i);
    if (reason != Packet::DecodeError::none) reasons[Packet::toText(reason)] = counters.malformedBy[i];
  }
  return json;
}

}  // namespace

void showCounters(const VrfView &view, Rows &rows) {
  Rows row;
  row["vrf"] = toJson(view.vrf);
  // A VRF that has not run yet has counted nothing.
  Kiv::Ptr<const PimBsrCounters> counters = view.status->counters();
  if (!counters) counters = Kiv::make<PimBsrCounters>("BsrCounters");
  CounterVisitor visitor(row);
  counters->describe(visitor);
  row["errors"] = toJson(errorFields, counters->errCounters());
  Rows &refused = row["refused"] = Rows::object();
  for (const LimitEntry &limit : limitTable) refused[limit.name] = counters->limitCounters().*limit.refused;
  row["packets"] = packetsOf(view.messages ? view.messages->packets : Flume::PacketCounters());
  rows.push_back(std::move(row));
}

}  // namespace Routing::Pim::Bsr
