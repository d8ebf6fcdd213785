#include "support/HeadlessTest.h"

#include "platform/foundation/bytes/Base64.h"

namespace vellumix {

Data tinyPNG() {
    return Data(*base64::decode(
        "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJg"
        "gg=="));
}

}  // namespace vellumix
