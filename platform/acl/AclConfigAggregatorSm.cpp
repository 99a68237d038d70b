#include "platform/acl/AclConfigAggregatorSm.h"

#include "platform/kiv/ReactorOf.h"

namespace Acl {

class AclConfigAggregatorSm::KivInput : public Kiv::ReactorOf<Input::Config, AclConfigAggregatorSm> {
  using ReactorOf::ReactorOf;
  void onAcl(const std::string &acl) override { owner_.handleAcl(acl); }
};

class AclConfigAggregatorSm::KivDir : public Kiv::ReactorOf<Kiv::Dir<Input::Config>, AclConfigAggregatorSm> {
  using ReactorOf::ReactorOf;
  void onEntry(const std::string &name) override { owner_.handleInput(name); }
};

// Passes on the rules in force, all of them at once.
class AclConfigAggregatorSm::KivAcl : public Kiv::ReactorOf<AclConfig, AclConfigAggregatorSm> {
  using ReactorOf::ReactorOf;
  void onCurrCfg() override { owner_.aclConfig_->aclIs(notifier()->name())->currCfgIs(notifier()->currCfg()); }
};

AclConfigAggregatorSm::AclConfigAggregatorSm(const Kiv::Ptr<const Kiv::Dir<Input::Config>> &input,
                                             const Kiv::Ptr<const Input::Config> &cli,
                                             const Kiv::Ptr<Input::Config> &aclConfig)
    : input_(input), cli_(cli), aclConfig_(aclConfig) {
  kivCli_ = std::make_unique<KivInput>(*this, cli_);
  cli_->replay(*kivCli_);
  kivDir_ = std::make_unique<KivDir>(*this, input_);
  input_->replay(*kivDir_);
}

AclConfigAggregatorSm::~AclConfigAggregatorSm() = default;

void AclConfigAggregatorSm::handleInput(const std::string &name) {
  kivInput_.erase(name);
  if (const Kiv::Ptr<Input::Config> input = input_->entry(name)) {
    kivInput_[name] = std::make_unique<KivInput>(*this, input);
    input->replay(*kivInput_[name]);
  }
  for (const std::string &acl : aclConfig_->acl().keys()) handleAcl(acl);
}

void AclConfigAggregatorSm::handleAcl(const std::string &acl) {
  const Kiv::Ptr<const AclConfig> wanted = inForce(acl);
  const auto present = acl_.find(acl);
  if (present != acl_.end() && present->second->notifier() == wanted.get()) return;
  acl_.erase(acl);
  if (!wanted) return aclConfig_->aclDel(acl);
  acl_[acl] = std::make_unique<KivAcl>(*this, wanted);
  aclConfig_->aclIs(acl)->currCfgIs(wanted->currCfg());
}

Kiv::Ptr<const AclConfig> AclConfigAggregatorSm::inForce(const std::string &acl) const {
  if (const Kiv::Ptr<AclConfig> own = cli_->acl(acl)) return own;
  for (const auto &[name, input] : input_->entry()) {
    if (const Kiv::Ptr<AclConfig> given = input->acl(acl)) return given;
  }
  return nullptr;
}

}  // namespace Acl
