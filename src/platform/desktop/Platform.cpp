#include "platform/desktop/Platform.h"

#include <utility>

#include "platform/foundation/text/LocalizedText.h"

namespace vellumix::platform {

namespace {
Platform* installed = nullptr;
}

Platform& current() { return *installed; }

Scope::Scope(Platform platform)
    : platform(std::move(platform)),
      outerPlatform(std::exchange(installed, &this->platform)),
      outerLoop(RunLoop::install(this->platform.runLoop)),
      outerLog(Log::install(this->platform.log)),
      outerInstances(SharedInstances::install(&instances)),
      defaults(*this->platform.files, this->platform.defaultsPath),
      outerDefaults(UserDefaults::install(&defaults)) {
    Localization::current().preferredLanguages = this->platform.preferredLanguages;
}

Scope::~Scope() {
    defaults.synchronize();
    // The shared instances go while everything that they use is still in force.
    instances.clear();
    UserDefaults::install(outerDefaults);
    SharedInstances::install(outerInstances);
    Log::install(outerLog);
    RunLoop::install(outerLoop);
    installed = outerPlatform;
}

}  // namespace vellumix::platform
