#include "daemon/ConfigReader.h"

#include <exception>
#include <utility>

#include "daemon/file/Effective.h"

namespace Routing::Pim::Bsr {

ConfigReader::ConfigReader(Linux::EventLoop &loop, std::string file, Pax::AddressFamily family,
                           Linux::NetlinkMonitors &monitors)
    : loop_(loop), file_(std::move(file)), family_(family), monitors_(monitors), worker_(loop) {}

void ConfigReader::read(Done done) {
  waiting_.push_back(std::move(done));
  if (!loaded_) start();
}

void ConfigReader::start() {
  reading_ = std::exchange(waiting_, {});
  loaded_ = std::make_shared<LoadedConfiguration>();
  const auto parse = [loaded = loaded_, file = file_, family = family_] {
    try {
      *loaded = configurationFromFile(file, family);
      loaded->effective = effectiveText(loaded->configuration);
    } catch (const std::exception &error) {  // no memory
      loaded->findings.error("", std::string("cannot be read: ") + error.what());
    }
  };
  worker_.start(parse, [this] { handleParsed(); });
}

void ConfigReader::handleParsed() {
  if (!loaded_->good()) return handleDone();
  inquiry_.emplace(loop_, monitors_, loaded_->configuration, [this] {
    inquiry_->findWarnings(loaded_->findings);
    inquiry_.reset();
    handleDone();
  });
}

void ConfigReader::handleDone() {
  const auto loaded = std::exchange(loaded_, nullptr);
  for (const Done &done : std::exchange(reading_, {})) done(*loaded);
  if (!loaded_ && !waiting_.empty()) start();
}

}  // namespace Routing::Pim::Bsr
