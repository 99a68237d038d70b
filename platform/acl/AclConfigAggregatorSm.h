/// One ACL configuration out of several.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/acl/Acl.h"
#include "platform/kiv/Dir.h"

namespace Acl {

/// Merges the inputs of a directory and what operators entered into `aclConfig`. An ACL that several
/// of them have is that of the operators, or else of the input that was there first.
class AclConfigAggregatorSm {
 public:
  AclConfigAggregatorSm(const Kiv::Ptr<const Kiv::Dir<Input::Config>> &input, const Kiv::Ptr<const Input::Config> &cli,
                        const Kiv::Ptr<Input::Config> &aclConfig);
  ~AclConfigAggregatorSm();
  AclConfigAggregatorSm(const AclConfigAggregatorSm &) = delete;
  AclConfigAggregatorSm &operator=(const AclConfigAggregatorSm &) = delete;

 private:
  class KivInput;
  class KivDir;
  class KivAcl;

  void handleInput(const std::string &name);
  void handleAcl(const std::string &acl);
  Kiv::Ptr<const AclConfig> inForce(const std::string &acl) const;

  const Kiv::Ptr<const Kiv::Dir<Input::Config>> input_;
  const Kiv::Ptr<const Input::Config> cli_;
  const Kiv::Ptr<Input::Config> aclConfig_;
  std::map<std::string, std::unique_ptr<KivAcl>> acl_;
  std::map<std::string, std::unique_ptr<KivInput>> kivInput_;
  std::unique_ptr<KivInput> kivCli_;
  std::unique_ptr<KivDir> kivDir_;
};

}  // namespace Acl
