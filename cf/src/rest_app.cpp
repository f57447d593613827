#include "rest_services.h"

#include <cf/app.h>
#include <cf/immortal.h>

namespace {
class AppFactory final : public ICSAppFactory {
 public:
  ICSRestClientFactory* obtainRestClientFactory() override { return &obtainClientFactory(); }
  ICSErrorDescriptionService* obtainErrorDescriptionService() override { return &obtainErrorDescriptions(); }
};
}  // namespace

ICSAppFactory* CF::obtainAppFactory() {
  static CFImmortal<AppFactory> factory;
  return &factory.get();
}
