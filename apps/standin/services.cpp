#include "services.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace standin {
namespace {

struct Row {
  std::string_view name;
  Service (*make)();
  std::string_view prefix;  // where it stands beside the root
};

// At the root all stand together; of two with the same path the upper one answers there.
constexpr std::array kServices{
    Row{"openai", openaiService, "/openai"},
    Row{"assistants", assistantsService, "/openai"},  // at one host with the former, whose models it uses
    Row{"deepseek", deepseekService, "/deepseek"},
    Row{"ollama", ollamaService, "/ollama"},
    Row{"gemini", geminiService, "/gemini"},
};

std::vector<Mount> usualMounts() {
  std::vector<Mount> mounts;
  for (const Row& row : kServices) {
    mounts.push_back({"", std::string(row.name)});
    mounts.push_back({std::string(row.prefix), std::string(row.name)});
  }
  return mounts;
}

Service makeService(std::string_view name) {
  const auto row = std::find_if(kServices.begin(), kServices.end(), [=](const Row& it) { return it.name == name; });
  if (row == kServices.end()) throw std::runtime_error("there is no service " + std::string(name));
  return row->make();
}

}  // namespace

std::vector<Site> mountServices(const std::vector<Mount>& mounts) {
  std::vector<Site> sites;
  for (const Mount& mount : mounts.empty() ? usualMounts() : mounts) {
    if (!mount.prefix.empty() && (mount.prefix.front() != '/' || mount.prefix.back() == '/')) {
      throw std::runtime_error("a service can't be mounted at " + mount.prefix);
    }
    auto site = std::find_if(sites.begin(), sites.end(), [&](const Site& it) { return it.prefix == mount.prefix; });
    if (site == sites.end()) site = sites.insert(site, {.prefix = mount.prefix, .services = {}});
    site->services.push_back(makeService(mount.service));
  }
  return sites;
}

}  // namespace standin
