#include "platform/foundation/text/RememberedTexts.h"

#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

RememberedTexts& RememberedTexts::shared() { return SharedInstances::current().get<RememberedTexts>(); }

}  // namespace vellumix
