#include "rest_services.h"

#include <cf/app.h>

namespace {
class AppFactory final : public ICSAppFactory {
 public:
  ICSRestClientFactory* obtainRestClientFactory() override { return &obtainClientFactory(); }
  ICSErrorDescriptionService* obtainErrorDescriptionService() override { return &obtainErrorDescriptions(); }
};
}  // namespace

ICSAppFactory* CF::obtainAppFactory() {
  static AppFactory factory;
  return &factory;
}
