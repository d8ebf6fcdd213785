#include "platform/foundation/RememberedTexts.h"

#include "platform/foundation/SharedInstances.h"

namespace vellumix {

RememberedTexts& RememberedTexts::shared() { return SharedInstances::current().get<RememberedTexts>(); }

}  // namespace vellumix
