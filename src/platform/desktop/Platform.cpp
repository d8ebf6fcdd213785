#include "platform/desktop/Platform.h"

#include <utility>

#include "platform/foundation/text/LocalizedText.h"

namespace vellumix::platform {

namespace {
Platform* installed = nullptr;
}

Platform& current() { return *installed; }

Scope::Scope(Platform platform)
    : _platform(std::move(platform)),
      _outerPlatform(std::exchange(installed, &_platform)),
      _outerLoop(RunLoop::install(_platform.runLoop)),
      _outerLog(Log::install(_platform.log)),
      _outerInstances(SharedInstances::install(&_instances)),
      _defaults(*_platform.files, _platform.defaultsPath),
      _outerDefaults(UserDefaults::install(&_defaults)) {
    Localization::current().preferredLanguages = _platform.preferredLanguages;
}

Scope::~Scope() {
    _defaults.synchronize();
    // The shared instances go while everything that they use is still in force.
    _instances.clear();
    UserDefaults::install(_outerDefaults);
    SharedInstances::install(_outerInstances);
    Log::install(_outerLog);
    RunLoop::install(_outerLoop);
    installed = _outerPlatform;
}

}  // namespace vellumix::platform
